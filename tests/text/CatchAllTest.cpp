#include "text/CatchAll.h"

#include <gtest/gtest.h>

#include <pthread.h>

namespace {

void* endInside(void* reached) {
    Tova::CatchAll([&] { pthread_exit(reached); });
    return nullptr;
}

TEST(CatchAll, DropsAllButTheEndOfAThread) {
    EXPECT_TRUE(Tova::CatchAll([] {}));
    EXPECT_FALSE(Tova::CatchAll([] { throw 1; }));
    int mark = 0;
    pthread_t thread;
    ASSERT_EQ(pthread_create(&thread, nullptr, endInside, &mark), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, &mark);
}

}  // namespace
