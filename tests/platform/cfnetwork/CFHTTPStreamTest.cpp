// HTTP messages and streams without a reader on top: reading by waiting, events on a run loop,
// properties, and the limits of the module below.
#include "cfnetwork/HttpTransfer.h"
#include "tests/support/LoopbackServer.h"

#include <CFNetwork/CFNetwork.h>
#include <CoreFoundation/CoreFoundation.h>

#include <gtest/gtest.h>

#include <dlfcn.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <memory>
#include <thread>

using tvtest::Connection;
using tvtest::HeaderOf;
using tvtest::LoopbackServer;

namespace {

struct Releaser {
    void operator()(const void* object) const { CFRelease(object); }
};
template <class T>
using Ref = std::unique_ptr<std::remove_pointer_t<T>, Releaser>;

Ref<CFStringRef> Text(const std::string& text) {
    return Ref<CFStringRef>(
        CFStringCreateWithCString(nullptr, text.c_str(), kCFStringEncodingUTF8));
}

std::string Utf8(CFStringRef text) {
    char bytes[1000];
    if (text == nullptr || !CFStringGetCString(text, bytes, sizeof bytes, kCFStringEncodingUTF8)) {
        return "(null)";
    }
    return bytes;
}

Ref<CFHTTPMessageRef> Request(const std::string& address, CFStringRef method = CFSTR("GET")) {
    const Ref<CFURLRef> url(CFURLCreateWithString(nullptr, Text(address).get(), nullptr));
    return Ref<CFHTTPMessageRef>(
        CFHTTPMessageCreateRequest(nullptr, method, url.get(), kCFHTTPVersion1_1));
}

Ref<CFReadStreamRef> Stream(const std::string& address, bool redirects = false) {
    Ref<CFReadStreamRef> stream(CFReadStreamCreateForHTTPRequest(nullptr, Request(address).get()));
    EXPECT_TRUE(CFReadStreamSetProperty(stream.get(), kCFStreamPropertyHTTPShouldAutoredirect,
                                        redirects ? kCFBooleanTrue : kCFBooleanFalse));
    return stream;
}

// Reads to the end by waiting; what the last read gave is added in brackets.
std::string ReadAll(CFReadStreamRef stream) {
    std::string body;
    UInt8 bytes[7];
    CFIndex count = 0;
    while ((count = CFReadStreamRead(stream, bytes, sizeof bytes)) > 0) {
        body.append(reinterpret_cast<char*>(bytes), static_cast<size_t>(count));
    }
    return body + "[" + std::to_string(count) + "]";
}

std::string headerValue(CFHTTPMessageRef message, CFStringRef name) {
    return Utf8(Ref<CFStringRef>(CFHTTPMessageCopyHeaderFieldValue(message, name)).get());
}

TEST(CFHTTPMessage, KeepsOnlyHeadersThatMayBeSent) {
    const auto message = Request("http://h/");
    const auto set = [&](const std::string& name, const std::string& value) {
        CFHTTPMessageSetHeaderFieldValue(message.get(), Text(name).get(), Text(value).get());
    };
    set("X-Good", "a b\xc3\xa9");
    EXPECT_EQ(headerValue(message.get(), CFSTR("x-gOOD")), "a b\xc3\xa9");
    set("x-good", "two");
    EXPECT_EQ(headerValue(message.get(), CFSTR("X-Good")), "two");
    for (const char* bad : {"a\r\nb", "a\nb", "\t", "a\x7f", "\x01"}) {
        set("X-Good", bad);
        EXPECT_EQ(headerValue(message.get(), CFSTR("X-Good")), "two") << bad;
    }
    for (const char* name : {"", "A B", "A:", "A\r\nB", "\xc3\xa9"}) {
        set(name, "x");
        EXPECT_EQ(headerValue(message.get(), Text(name).get()), "(null)") << name;
    }
    CFHTTPMessageSetHeaderFieldValue(message.get(), CFSTR("X-GOOD"), nullptr);
    EXPECT_EQ(headerValue(message.get(), CFSTR("X-Good")), "(null)");
}

TEST(CFHTTPMessage, TellsWhatItIs) {
    const auto message = Request("http://h/p?q");
    EXPECT_TRUE(CFHTTPMessageIsRequest(message.get()));
    EXPECT_EQ(CFHTTPMessageGetResponseStatusCode(message.get()), 0);
    const Ref<CFURLRef> url(CFHTTPMessageCopyRequestURL(message.get()));
    EXPECT_EQ(Utf8(CFURLGetString(url.get())), "http://h/p?q");
    EXPECT_EQ(Utf8(Ref<CFStringRef>(CFHTTPMessageCopyRequestMethod(message.get())).get()), "GET");
    EXPECT_EQ(CFHTTPMessageCreateRequest(nullptr, CFSTR("GET"), nullptr, kCFHTTPVersion1_1),
              nullptr);
    EXPECT_EQ(CFHTTPMessageCreateRequest(nullptr, nullptr, url.get(), kCFHTTPVersion1_1), nullptr);
    EXPECT_EQ(CFReadStreamCreateForHTTPRequest(nullptr, nullptr), nullptr);
}

TEST(CFHTTPStream, IsReadByWaiting) {
    LoopbackServer server([](Connection& connection) {
        for (std::string request; !(request = connection.ReadRequest()).empty();) {
            if (tvtest::PathOf(request) == "/moved") {
                connection.Answer("302 Found\r\nLocation: /here\r\nX-Which: first", "nowhere");
            } else {
                connection.Answer("200 Fine\r\nX-Two: a\r\nX-Two:b \r\nX-Latin: \xe9", "a body");
            }
        }
    });
    const auto stream = Stream(server.Url("/moved"), true);
    EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusNotOpen);
    EXPECT_EQ(CFReadStreamRead(stream.get(), nullptr, 1), -1);
    EXPECT_EQ(CFReadStreamCopyProperty(stream.get(), kCFStreamPropertyHTTPResponseHeader), nullptr);
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    EXPECT_FALSE(CFReadStreamOpen(stream.get()));
    EXPECT_FALSE(CFReadStreamSetProperty(stream.get(), kCFStreamPropertyHTTPShouldAutoredirect,
                                         kCFBooleanFalse));
    EXPECT_EQ(ReadAll(stream.get()), "a body[0]");
    EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusAtEnd);
    EXPECT_TRUE(CFReadStreamHasBytesAvailable(stream.get()));

    const Ref<CFHTTPMessageRef> header(static_cast<CFHTTPMessageRef>(const_cast<void*>(
        CFReadStreamCopyProperty(stream.get(), kCFStreamPropertyHTTPResponseHeader))));
    EXPECT_FALSE(CFHTTPMessageIsRequest(header.get()));
    EXPECT_EQ(CFHTTPMessageGetResponseStatusCode(header.get()), 200);
    EXPECT_EQ(headerValue(header.get(), CFSTR("x-two")), "a, b");
    EXPECT_EQ(headerValue(header.get(), CFSTR("X-Latin")), "\xc3\xa9");
    EXPECT_EQ(headerValue(header.get(), CFSTR("X-Which")), "(null)");
    const Ref<CFURLRef> url(static_cast<CFURLRef>(
        CFReadStreamCopyProperty(stream.get(), kCFStreamPropertyHTTPFinalURL)));
    EXPECT_EQ(Utf8(CFURLGetString(url.get())), server.Url("/here"));

    CFReadStreamClose(stream.get());
    EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusClosed);
    EXPECT_EQ(ReadAll(stream.get()), "[-1]");
    EXPECT_FALSE(CFReadStreamOpen(stream.get()));
}

TEST(CFHTTPStream, LeavesARedirectToWhoeverDoesNotFollow) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("302 Found\r\nLocation: /here", "moved");
    });
    const auto stream = Stream(server.Url());
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    EXPECT_EQ(ReadAll(stream.get()), "moved[0]");
    EXPECT_EQ(server.Accepted(), 1);
}

TEST(CFHTTPStream, WhatCannotBeOpenedFailsAtOnce) {
    const char* addresses[] = {"ftp://h/",   "file:///x",    "http://",
                               "https:///x", "http://u@:8/", "data:,x"};
    for (const char* address : addresses) {
        const auto stream = Stream(address);
        EXPECT_FALSE(CFReadStreamOpen(stream.get())) << address;
        EXPECT_EQ(CFReadStreamGetStatus(stream.get()), kCFStreamStatusError) << address;
        EXPECT_EQ(CFReadStreamGetError(stream.get()).domain, kCFStreamErrorDomainHTTP) << address;
    }
    const Ref<CFReadStreamRef> post(CFReadStreamCreateForHTTPRequest(
        nullptr, Request("http://127.0.0.1/", CFSTR("POST")).get()));
    EXPECT_FALSE(CFReadStreamOpen(post.get()));
}

TEST(CFHTTPStream, AReadThatWaitsEndsWithTheStream) {
    std::atomic<bool> asked{false};
    LoopbackServer server([&](Connection& connection) {
        connection.ReadRequest();
        asked = true;
        connection.Hold();
    });
    const auto stream = Stream(server.Url());
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    std::thread closer([&] {
        while (!asked) {
            std::this_thread::yield();
        }
        CFReadStreamClose(stream.get());
    });
    EXPECT_EQ(ReadAll(stream.get()), "[-1]");
    closer.join();
}

struct Client {
    std::string events;
    CFIndex readEach = 3;
    int retained = 0;

    static void OnEvent(CFReadStreamRef stream, CFStreamEventType type, void* info) {
        auto* self = static_cast<Client*>(info);
        self->events += type == kCFStreamEventOpenCompleted       ? 'o'
                        : type == kCFStreamEventHasBytesAvailable ? 'b'
                        : type == kCFStreamEventEndEncountered    ? 'e'
                                                                  : 'x';
        UInt8 bytes[10];
        if (type == kCFStreamEventHasBytesAvailable && self->readEach > 0) {
            CFReadStreamRead(stream, bytes, self->readEach);
        }
        if (type == kCFStreamEventEndEncountered || type == kCFStreamEventErrorOccurred) {
            CFRunLoopStop(CFRunLoopGetCurrent());
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
    const auto stream = Stream(server.Url());
    Client client;
    CFStreamClientContext context = client.Context();
    const CFOptionFlags all = kCFStreamEventOpenCompleted | kCFStreamEventHasBytesAvailable |
                              kCFStreamEventErrorOccurred | kCFStreamEventEndEncountered;
    ASSERT_TRUE(CFReadStreamSetClient(stream.get(), all, Client::OnEvent, &context));
    EXPECT_EQ(client.retained, 1);
    CFReadStreamScheduleWithRunLoop(stream.get(), CFRunLoopGetCurrent(), kCFRunLoopCommonModes);
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    CFRunLoopRun();
    // Bytes are announced again after each read, the end only after the last.
    EXPECT_EQ(client.events, "obbbe");
    // Nothing comes twice.
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0, false), kCFRunLoopRunTimedOut);
    EXPECT_EQ(client.events, "obbbe");
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
    const auto stream = Stream(server.Url());
    Client client;
    client.readEach = 0;
    CFStreamClientContext context = client.Context();
    CFReadStreamSetClient(stream.get(), kCFStreamEventHasBytesAvailable, Client::OnEvent, &context);
    CFReadStreamScheduleWithRunLoop(stream.get(), CFRunLoopGetCurrent(), kCFRunLoopDefaultMode);
    ASSERT_TRUE(CFReadStreamOpen(stream.get()));
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 0.01, true), kCFRunLoopRunTimedOut);
    EXPECT_EQ(client.events, "b");
    // A client that comes later is told what it asked for and nobody was told.
    CFReadStreamSetClient(stream.get(), kCFStreamEventOpenCompleted, Client::OnEvent, &context);
    EXPECT_EQ(CFRunLoopRunInMode(kCFRunLoopDefaultMode, 60, true), kCFRunLoopRunHandledSource);
    EXPECT_EQ(client.events, "bo");
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

    // Waits a little for what the transfer waits for, and lets it go on. True when it asked for a
    // descriptor.
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

    static CFStreamError ErrorOf(tvplatform::HttpTransfer& transfer) {
        while (!IsOver(transfer)) {
            Advance(transfer);
        }
        return transfer.State().error;
    }

    tvplatform::HttpStartFunction start_ = nullptr;
    tvplatform::HttpOpenFunction open_ = nullptr;
};

TEST_F(HttpModule, GivesUpOnAPeerThatFallsSilent) {
    for (const char* answer : {"", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\n\r\nx"}) {
        LoopbackServer server([&](Connection& connection) {
            connection.ReadRequest();
            connection.Send(answer);
            connection.Hold();
        });
        tvplatform::HttpRequest request;
        request.url = server.Url();
        request.idleLimit = std::chrono::milliseconds(100);
        std::shared_ptr<tvplatform::HttpTransfer> transfer;
        ASSERT_TRUE(open_(request, transfer));
        const CFStreamError error = ErrorOf(*transfer);
        EXPECT_EQ(error.domain, kCFStreamErrorDomainPOSIX);
        EXPECT_EQ(error.error, ETIMEDOUT);
    }
}

TEST_F(HttpModule, GivesUpOnAHandshakeThatDoesNotCome) {
    LoopbackServer server([](Connection& connection) { connection.Hold(); });
    tvplatform::HttpRequest request;
    request.url = server.Url("/", "https");
    request.connectLimit = std::chrono::milliseconds(100);
    std::shared_ptr<tvplatform::HttpTransfer> transfer;
    ASSERT_TRUE(open_(request, transfer));
    EXPECT_EQ(ErrorOf(*transfer).error, ETIMEDOUT);
}

TEST_F(HttpModule, KeepsNoMoreUnreadThanAsked) {
    LoopbackServer server([](Connection& connection) {
        connection.ReadRequest();
        connection.Answer("200 OK", std::string(1000000, 'x'));
    });
    tvplatform::HttpRequest request;
    request.url = server.Url();
    request.maxUnread = 50000;
    std::shared_ptr<tvplatform::HttpTransfer> transfer;
    ASSERT_TRUE(open_(request, transfer));
    size_t total = 0;
    std::vector<unsigned char> bytes(1000000);
    while (!IsOver(*transfer)) {
        // Until it waits for its reader: it then asks for no descriptor.
        while (!IsOver(*transfer) && (Advance(*transfer) || !transfer->State().hasBytes)) {
        }
        const size_t count = transfer->Read(bytes.data(), bytes.size());
        EXPECT_LE(count, request.maxUnread + 2 * 16384);
        total += count;
    }
    EXPECT_EQ(transfer->State().error.error, 0);
    EXPECT_EQ(total, 1000000U);
}

}  // namespace
