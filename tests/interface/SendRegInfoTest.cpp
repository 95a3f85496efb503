#include "interface/SendRegInfo.h"

#include <TVframework/TVframework.h>

#include "mac/MacThreadedWebReader.h"
#include "tests/interface/InterfaceTestSupport.h"
#include "tests/support/LoopbackServer.h"
#include "tests/support/ThreadCreation.h"
#include "vars/GlobalVars.h"

#include <sys/resource.h>

#include <future>

namespace {

using namespace tvtest;

class SendRegInfo : public ::testing::Test {
protected:
    SendRegInfo() {
        Tova::GlobalVars.Empty();
        Fill(Tova::GlobalVars, {{"MajVersion", "7"}, {"AppKey", "calyx<MajVersion>"}});
        WriteConfig(home_.Path("config"), {});
    }

    void SetRegistryAddress(const std::string& address) {
        home_.Write("machine/Nimbus Works/Nimbus Works Registry",
                    "[calyx7]\nProdRegURL=" + address + "\n");
    }
    // Readers are numbered, so the numbers of two fresh ones tell how many were made between them.
    static int NextReader() {
        MacThreadedWebReader* reader = MacThreadedWebReader::Create();
        const int number = reader->GetSerialNumber();
        reader->Release();
        return number;
    }
    // Saves with the flag and "SDKey" given and returns how many requests were made.
    int Save(unsigned send, double consent) {
        const auto details = MakeDict({{"FNKey", "Ada"}, {"EAKey", "a@b.c"}});
        CFDictionarySetValue(details.Get(), CFSTR("SDKey"), MakeNumber(consent).Get());
        const int before = NextReader();
        EXPECT_EQ(tvWriteRegInfo(MakeString(home_.Path("config")).Get(), details.Get(), send), 0);
        return NextReader() - before - 1;
    }

    TempHome home_;
};

TEST_F(SendRegInfo, AddressComesFromTheRegistryOrTheBuild) {
    const std::string query = "?RegFirstName=Ada&RegLastName=King+%26+Co&RegOrg=&RegEmail=a%40b.c";
    Tova::CString address("before");
    const auto build = [&] {
        Tova::BuildRegistrationAddress(Tova::CRegInfo("Ada", "King & Co", "", "a@b.c"), address);
        return address.CStr();
    };
    EXPECT_EQ(build(), "https://" TV_REGISTRATION_HOST "/v/prod_reg" + query);
    SetRegistryAddress("http://x.y/z?a=b");
    EXPECT_EQ(build(), "http://x.y/z?a=b" + query);
}

TEST_F(SendRegInfo, ConsentAndFlagDecideWhetherARequestIsMade) {
    std::promise<std::string> arrived;
    LoopbackServer server([&](Connection& peer) {
        arrived.set_value(peer.ReadRequest());
        peer.Answer("200 OK\r\nConnection: close", "");
    });
    SetRegistryAddress(server.Url("/v/prod_reg"));
    EXPECT_EQ(Save(0, 1) + Save(1, 0) + Save(1, 2), 0);
    ASSERT_EQ(Save(4, 1), 1);
    const std::string request = arrived.get_future().get();
    EXPECT_EQ(PathOf(request), "/v/prod_reg?RegFirstName=Ada&RegLastName=&RegOrg=&RegEmail=a@b.c");
    EXPECT_NE(request.find("\r\nUser-Agent: Calyx Registration\r\n"), std::string::npos) << request;
    EXPECT_EQ(server.Accepted(), 1);
}

// It saves although nothing is sent, and waits for nothing.
TEST_F(SendRegInfo, SavesWhereNothingCanBeSent) {
    ThreadCreation::sMade = 0;
    for (const char* address : {"nonsense", "https:///v/prod_reg", "http://:80/"}) {
        SetRegistryAddress(address);
        EXPECT_EQ(Save(1, 1), 1) << address;
    }
    EXPECT_EQ(ThreadCreation::sMade, 0);
    SetRegistryAddress("http://127.0.0.1/");
    ThreadCreation::sFails = true;
    EXPECT_EQ(Save(1, 1), 1);
    ThreadCreation::sFails = false;
}

// Every request and every answer that does not come holds descriptors of this process.
TEST_F(SendRegInfo, LeavesDescriptorsForSaving) {
    const LoopbackServer server([](Connection& peer) { peer.Hold(); });
    SetRegistryAddress(server.Url());
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{100, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    int sent = 0;
    for (int call = 0; call < 100; ++call) {
        sent += Save(1, 1);
    }
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_GT(sent, 4);
}

}  // namespace
