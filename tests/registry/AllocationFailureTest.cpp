// Every allocation of reading and looking up fails once; nothing may crash or leak, and what was
// stored is found.
#include "tests/support/AllocationFailure.h"
#include "tests/registry/RegistryTesting.h"

#include <gtest/gtest.h>

namespace Tova {
namespace {

TEST(AllocationFailure, LeavesATreeThatAnswers) {
    for (std::string text : {"!NWREG 1.0 {\nd{\n", "[d]\n"}) {
        for (int i = 0; i < 20; ++i) {
            text += "n" + std::to_string(i) + "=v\n";
        }
        int failures = 0;
        for (bool failed = true; failed; ++failures) {
            CMemRegistry root;
            tvtest::TextStream stream(text);
            RStatus status = Ok;
            bool found = true;
            {
                const tvtest::FailAllocation failure(failures);
                status = root.ReadFromStream(stream);
                try {
                    found = root.GetNodeType("d/n0") > 0 && root.GetNodeType("d/n") < 0 &&
                            root.GetNodeType("d/n1/x") > 0 && root.Delete("d/n1") &&
                            root.SetValue("d/n1", "w");
                } catch (const std::bad_alloc&) {
                    // That look-up failed; the next ones answer.
                }
                failed = failure.HasFailed();
            }
            EXPECT_TRUE((status == Ok && found) || (status == Failure && failed)) << failures;
            CRegDir dir;
            CString name;
            for (int i = 0; root.OpenDir("d", dir) && dir.EnumEntry(i, name); ++i) {
                EXPECT_NE(dir.GetValue(name.CStr()), nullptr) << failures;
            }
        }
        EXPECT_GT(failures, 40);
    }
}

}  // namespace
}  // namespace Tova
