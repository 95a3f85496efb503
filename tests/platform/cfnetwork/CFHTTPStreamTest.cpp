// HTTP messages and streams without a reader on top: reading by waiting, events on a run loop,
// properties, and the limits of the module below.
#include "cfnetwork/HttpTransfer.h"
#include "tests/support/LoopbackServer.h"

#include <CFNetwork/CFNetwork.h>
#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <tuple>

using tvtest::Connection;
using tvtest::LoopbackServer;

namespace {

struct Releaser {
    void operator()(const void* object) const { CFRelease(object); }
};
template <class T>
using Ref = std::unique_ptr<std::remove_pointer_t<T>, Releaser>;

Ref<CFStringRef> textOf(const std::string& text) {
    return Ref<CFStringRef>(
        CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
}

Ref<CFHTTPMessageRef> makeRequest(const std::string& address, CFStringRef method = CFSTR("GET")) {
    const Ref<CFURLRef> url(CFURLCreateWithString(nullptr, textOf(address).get(), nullptr));
    return Ref<CFHTTPMessageRef>(
        CFHTTPMessageCreateRequest(nullptr, method, url.get(), kCFHTTPVersion1_1));
}

Ref<CFReadStreamRef> makeStream(const std::string& address, bool redirects = false) {
    Ref<CFReadStreamRef> stream(
        CFReadStreamCreateForHTTPRequest(nullptr, makeRequest(address).get()));
    EXPECT_TRUE(CFReadStreamSetProperty(stream.get(), kCFStreamPropertyHTTPShouldAutoredirect,
                                        redirects ? kCFBooleanTrue : kCFBooleanFalse));
    return stream;
}

// Reads to the end by waiting; what the last read gave is added in brackets.
std::string readAll(CFReadStreamRef stream) {
    std::string body;
    UInt8 bytes[7];
    CFIndex count = 0;
    while ((count = CFReadStreamRead(stream, bytes, sizeof bytes)) > 0) {
        body.append(reinterpret_cast<char*>(bytes), static_cast<size_t>(count));
    }
    return body + "[" + std::to_string(count) + "]";
}

int statusOf(CFReadStreamRef stream) {
    const Ref<CFHTTPMessageRef> header(static_cast<CFHTTPMessageRef>(
        const_cast<void*>(CFReadStreamCopyProperty(stream, kCFStreamPropertyHTTPResponseHeader))));
    return static_cast<int>(CFHTTPMessageGetResponseStatusCode(header.get()));
}

TEST(CFHTTPMessage, SendsOnlyHeadersThatMayBeSent) {
    std::string request;
    LoopbackServer server([&](Connection& connection) {
        request = connection.ReadRequest();
        connection.Answer("200 OK", "");
    });
    const auto message = makeRequest(server.Url());
    const std::pair<const char*, const char*> headers[] = {
        {"X-Good", "one"},    {"x-good", "a b\xc3\xa9"},
        {"X-Good", "a\r\nb"}, {"X-Good", "a\nb"},
        {"X-Good", "\t"},     {"X-Good", "a\x7f"},
        {"X-Good", "\x01"},   {"", "x"},
        {"A B", "x"},         {"A:", "x"},
        {"A\r\nB", "x"},      {"\xc3\xa9", "x"},
        {"X-Empty", " "},     {"X-Gone", "x"},
        {"X-GONE", nullptr},
    };
    for (const auto& [name, value] : headers) {
        CFHTTPMessageSetHeaderFieldValue(message.get(), textOf(name).get(),
                                         value != nullptr ? textOf(value).get() : nullptr);
    }
    const Ref<CFReadStreamRef> stream(CFReadStreamCreateForHTTPRequest(nullptr, message.get()));
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    EXPECT_EQ(readAll(stream.get()), "[0]");
    EXPECT_EQ(request, "GET / HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server.Port()) +
                           "\r\nAccept: */*\r\nx-good: a b\xc3\xa9\r\nX-Empty:\r\n\r\n");
}

TEST(CFHTTPMessage, IsNoneWithoutItsArguments) {
    const Ref<CFURLRef> url(CFURLCreateWithString(nullptr, CFSTR("http://h/"), nullptr));
    EXPECT_EQ(CFHTTPMessageCreateRequest(nullptr, CFSTR("GET"), nullptr, kCFHTTPVersion1_1),
              nullptr);
    EXPECT_EQ(CFHTTPMessageCreateRequest(nullptr, nullptr, url.get(), kCFHTTPVersion1_1), nullptr);
    EXPECT_EQ(CFHTTPMessageCreateRequest(nullptr, CFSTR("GET"), url.get(), nullptr), nullptr);
    EXPECT_EQ(CFReadStreamCreateForHTTPRequest(nullptr, nullptr), nullptr);
    EXPECT_EQ(CFHTTPMessageGetResponseStatusCode(makeRequest("http://h/").get()), 0);
}

TEST(CFHTTPStream, IsReadByWaiting) {
    LoopbackServer server([](Connection& connection) {
        for (std::string request; !(request = connection.ReadRequest()).empty();) {
            if (tvtest::PathOf(request) == "/moved") {
                // The second field looks like the first line of an answer.
                connection.Answer("302 Found\r\nLocation: /here\r\nHTTP/1.1: x", "nowhere");
            } else {
                connection.Answer("200 Fine", "a body");
            }
        }
    });
    const auto stream = makeStream(server.Url("/moved"), true);
    EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusNotOpen);
    EXPECT_EQ(CFReadStreamRead(stream.get(), nullptr, 1), -1);
    EXPECT_EQ(CFReadStreamCopyProperty(stream.get(), kCFStreamPropertyHTTPResponseHeader), nullptr);
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    EXPECT_FALSE(CFReadStreamOpen(stream.get()));
    EXPECT_FALSE(CFReadStreamSetProperty(stream.get(), kCFStreamPropertyHTTPShouldAutoredirect,
                                         kCFBooleanFalse));
    EXPECT_EQ(readAll(stream.get()), "a body[0]");
    EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusAtEnd);
    EXPECT_EQ(statusOf(stream.get()), 200);
    CFReadStreamClose(stream.get());
    EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusClosed);
    EXPECT_EQ(readAll(stream.get()), "[-1]");
    EXPECT_FALSE(CFReadStreamOpen(stream.get()));
}

TEST(CFHTTPStream, LeavesARedirectToWhoeverDoesNotFollow) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("302 Found\r\nLocation: /here", "moved");
    });
    const auto stream = makeStream(server.Url());
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    EXPECT_EQ(readAll(stream.get()), "moved[0]");
    EXPECT_EQ(statusOf(stream.get()), 302);
    EXPECT_EQ(server.Accepted(), 1);
}

TEST(CFHTTPStream, WhatCannotBeOpenedFailsAtOnce) {
    const char* addresses[] = {"ftp://h/",   "file:///x",    "http://",
                               "https:///x", "http://u@:8/", "data:,x"};
    for (const char* address : addresses) {
        const auto stream = makeStream(address);
        EXPECT_FALSE(CFReadStreamOpen(stream.get())) << address;
        EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusError) << address;
        EXPECT_EQ(CFReadStreamGetError(stream.get()).domain, kCFStreamErrorDomainHTTP) << address;
    }
    const Ref<CFReadStreamRef> post(CFReadStreamCreateForHTTPRequest(
        nullptr, makeRequest("http://127.0.0.1/", CFSTR("POST")).get()));
    EXPECT_FALSE(CFReadStreamOpen(post.get()));
}

struct Client {
    std::string events;
    CFIndex readEach = 3;
    int retained = 0;

    static void OnEvent(CFReadStreamRef stream, CFStreamEventType type, void* info) {
        auto* self = static_cast<Client*>(info);
        self->events += type == kCFStreamEventHasBytesAvailable ? 'b'
                        : type == kCFStreamEventEndEncountered  ? 'e'
                                                                : 'x';
        UInt8 bytes[10];
        if (type == kCFStreamEventHasBytesAvailable && self->readEach > 0) {
            CFReadStreamRead(stream, bytes, self->readEach);
        }
    }
    CFStreamClientContext Context() {
        return {0, this,
                [](void* info) {
                    ++static_cast<Client*>(info)->retained;
                    return info;
                },
                [](void* info) { --static_cast<Client*>(info)->retained; }, nullptr};
    }
};

TEST(CFHTTPStream, CallsItsClientOnTheRunLoop) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("200 OK", "12345678");
    });
    const auto stream = makeStream(server.Url());
    Client client;
    CFStreamClientContext context = client.Context();
    const CFOptionFlags all = kCFStreamEventHasBytesAvailable | kCFStreamEventErrorOccurred |
                              kCFStreamEventEndEncountered;
    ASSERT_TRUE(CFReadStreamSetClient(stream.get(), all, Client::OnEvent, &context));
    EXPECT_EQ(client.retained, 1);
    CFReadStreamScheduleWithRunLoop(stream.get(), CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    while (!client.events.ends_with('e') && !client.events.ends_with('x')) {
        CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true);
    }
    // Bytes are announced again after each read, the end only after the last.
    EXPECT_EQ(client.events, "bbbe");
    // Nothing comes twice.
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false), kCFRunLoopRunTimedOut);
    EXPECT_EQ(client.events, "bbbe");
    ASSERT_TRUE(CFReadStreamSetClient(stream.get(), kCFStreamEventNone, nullptr, nullptr));
    EXPECT_EQ(client.retained, 0);
    CFReadStreamClose(stream.get());
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false), kCFRunLoopRunFinished);
}

TEST(CFHTTPStream, AnnouncesUnreadBytesOnce) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("200 OK", "12");
    });
    const auto stream = makeStream(server.Url());
    Client client;
    client.readEach = 0;
    CFStreamClientContext context = client.Context();
    CFReadStreamSetClient(stream.get(), kCFStreamEventHasBytesAvailable, Client::OnEvent, &context);
    CFReadStreamScheduleWithRunLoop(stream.get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true), kCFRunLoopRunTimedOut);
    EXPECT_EQ(client.events, "b");
    CFReadStreamUnscheduleFromRunLoop(stream.get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true), kCFRunLoopRunFinished);
    CFReadStreamSetClient(stream.get(), 0, nullptr, nullptr);
}

// The module itself, with limits that a test can wait for.
class HttpModule : public testing::Test {
protected:
    void SetUp() override {
        Dl_info info{};
        ASSERT_NE(dladdr(reinterpret_cast<const void*>(&CFRetain), &info), 0);
        const auto folder = std::filesystem::canonical(info.dli_fname).parent_path();
        void* module = dlopen((folder / tvplatform::cHttpModule).c_str(), RTLD_NOW);
        ASSERT_NE(module, nullptr) << dlerror();
        start_ = reinterpret_cast<tvplatform::HttpStartFunction>(
            dlsym(module, tvplatform::cHttpStartFunction));
        open_ = reinterpret_cast<tvplatform::HttpOpenFunction>(
            dlsym(module, tvplatform::cHttpOpenFunction));
        ASSERT_TRUE(start_());
    }

    // Waits a little for what the transfer waits for, and lets it go on. Returns true if it asked
    // for a descriptor.
    static bool Advance(tvplatform::HttpTransfer& transfer) {
        tvplatform::PollSet set(tvplatform::Clock::time_point::max());
        transfer.Prepare(set);
        std::vector<pollfd> polled = set.Descriptors();
        poll(polled.data(), polled.size(), 5);
        transfer.Step(polled);
        return !polled.empty();
    }

    static bool IsOver(const tvplatform::HttpTransfer& transfer) {
        return transfer.State().failed || transfer.State().ended;
    }

    std::shared_ptr<tvplatform::HttpTransfer> Open(const tvplatform::HttpRequest& request) const {
        std::shared_ptr<tvplatform::HttpTransfer> transfer;
        EXPECT_TRUE(open_(request, transfer));
        return transfer;
    }

    tvplatform::HttpStartFunction start_ = nullptr;
    tvplatform::HttpOpenFunction open_ = nullptr;
};

TEST_F(HttpModule, GivesUpOnAPeerThatFallsSilent) {
    const std::tuple<const char*, const char*> cases[] = {
        {"http", ""},
        {"http", "HTTP/1.1 200 OK\r\n"},
        {"http", "HTTP/1.1 200 OK\r\n\r\nx"},
        {"https", ""},  // The TLS handshake does not come.
    };
    for (const auto& [scheme, answer] : cases) {
        LoopbackServer server([text = answer](Connection& connection) {
            if (*text != '\0') {
                connection.ReadRequest();
                connection.Send(text);
            }
            connection.Hold();
        });
        tvplatform::HttpRequest request;
        request.url = server.Url("/", scheme);
        (std::string(scheme) == "https" ? request.connectLimit : request.idleLimit) =
            std::chrono::milliseconds(100);
        const auto transfer = Open(request);
        while (!IsOver(*transfer)) {
            Advance(*transfer);
        }
        EXPECT_EQ(transfer->State().error.domain, kCFStreamErrorDomainPOSIX);
        EXPECT_EQ(transfer->State().error.error, ETIMEDOUT);
    }
}

TEST_F(HttpModule, KeepsNoMoreUnreadThanAskedAndIsNotIdleMeanwhile) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("200 OK", std::string(1000000, 'x'));
    });
    tvplatform::HttpRequest request;
    request.url = server.Url();
    request.maxUnread = 50000;
    request.idleLimit = std::chrono::milliseconds(300);
    const auto transfer = Open(request);
    size_t total = 0;
    std::vector<unsigned char> bytes(1000000);
    while (!IsOver(*transfer)) {
        // Until it waits for its reader: it then asks for no descriptor.
        while (!IsOver(*transfer) && (Advance(*transfer) || !transfer->State().hasBytes)) {
        }
        // The first pause lasts longer than the idle limit.
        const auto limit = tvplatform::Clock::now() + request.idleLimit * 2;
        while (total == 0 && tvplatform::Clock::now() < limit) {
            Advance(*transfer);
        }
        const size_t count = transfer->Read(bytes.data(), bytes.size());
        EXPECT_LE(count, request.maxUnread + 2 * 16384);
        total += count;
    }
    EXPECT_EQ(transfer->State().error.error, 0);
    EXPECT_EQ(total, 1000000U);
}

}  // namespace
