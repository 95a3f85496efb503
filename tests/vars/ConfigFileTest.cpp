#include "vars/ConfigFile.h"

#include "streams/Scrambling.h"
#include "tests/streams/MemoryStream.h"
#include "tests/support/TempHome.h"
#include "tests/vars/VarsTestSupport.h"

#include <gtest/gtest.h>

#include <new>
#include <string>
#include <tuple>

namespace Tova {
namespace {

using Damage = ConfigFileReport::Damage;
using namespace tvtest;
using namespace std::string_literals;

const std::string cHeader = "Nimbus Works Configuration File 1.0\0"s;

std::string scrambled(std::string plain) {
    for (char& c : plain) {
        c = static_cast<char>(Scramble(static_cast<unsigned char>(c)));
    }
    return plain;
}

class ConfigFile : public ::testing::Test {
protected:
    RStatus Read(const std::string& path, CVarList& list) {
        return ReadConfiguration(Path(path), list, &report_);
    }
    std::string Written(const CVarList& list) {
        EXPECT_EQ(list.WriteToFile(Path(dir_.Path("written"))), Ok);
        return ReadFile(dir_.Path("written"));
    }

    TempDir dir_;
    ConfigFileReport report_;
};

TEST_F(ConfigFile, WritesTheBytesOfTheFormatAndReadsThemBack) {
    CVarList list, back, target;
    Fill(list, {{"A", ""}, {"B", "\xFF\n%<"}, {"%", "x"}});
    dir_.Write("written", std::string(500, 'x'));  // is replaced
    EXPECT_EQ(Written(list), scrambled(cHeader + "A\0\0B\0\xFF\n%<\0%\0x\0\0003829\0"s));
    EXPECT_EQ(Read(dir_.Path("written"), back), Ok);
    EXPECT_EQ(Dump(back), Dump(list));
    EXPECT_EQ(report_.damage, Damage::None);
    Fill(target, {{"B", "old"}, {"C", "3"}, {"%A", "kept"}});
    EXPECT_EQ(Read(dir_.Path("written"), target), Ok);
    EXPECT_EQ(Dump(target), "B=\xFF\n%<;C=3;%A=kept;%=x");
    EXPECT_EQ(target.WriteToFile(Path("/dev/full")), Ok);  // reports only a failure to open
    CFileStream stream;
    ASSERT_GE(stream.Open(Path("/dev/full"), cConfigFileWriteFlags, nullptr), 0);
    EXPECT_FALSE(WriteConfiguration(stream, target));
}

TEST_F(ConfigFile, TellsWhichDamageItIs) {
    const std::string body = cHeader + "A\0001\0\0"s;
    for (const auto& [plain, damage, stored, expected] :
         std::vector<std::tuple<std::string, Damage, unsigned, const char*>>{
             {body + "3293\0"s, Damage::None, 3293, "A=1"},
             {body + " +3293 years\0rest"s, Damage::None, 3293, "A=1"},
             {body + "4294970589\0"s, Damage::None, 3293, "A=1"},
             {body + "3294\0"s, Damage::CheckValueDiffers, 3294, "A=1"},
             {body + "\0"s, Damage::CheckValueDiffers, 0, "A=1"},
             {"Nimbus Works Configuration File 1.1\0"s + body, Damage::OtherHeader, 0, ""},
             {"a text that is something else\n", Damage::NoHeader, 0, ""}}) {
        CVarList list;
        const RStatus status = Read(dir_.Write("f", scrambled(plain)), list);
        EXPECT_EQ(status, damage == Damage::None ? Ok : ErrBadFormat) << plain;
        EXPECT_EQ(std::tuple(report_.damage, report_.stored), std::tuple(damage, stored)) << plain;
        EXPECT_EQ(Dump(list), expected);
    }
    // A megabyte without a NUL is no configuration file after its first bytes.
    CVarList list;
    EXPECT_EQ(Read(dir_.Write("large", std::string(1 << 20, 'x')), list), ErrBadFormat);
    EXPECT_EQ(report_.header.Length(), static_cast<int>(cHeader.size()));
}

// A sum cannot see everything, but neither a cut nor one bit ever makes another list pass for the
// one that was written. What passes is a check value that reads the same: without its NUL, or with
// something else in place of it.
TEST_F(ConfigFile, NoCutAndNoFlippedBitGivesAnotherList) {
    CVarList list;
    Fill(list, {{"%Maj", "7"}, {"Name", "value"}, {"%", ""}, {"Empty", ""}, {"9", "1234"}});
    const std::string whole = Written(list);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        CVarList cut;
        const bool isLast = at + 1 == whole.size();
        EXPECT_EQ(Read(dir_.Write("cut", whole.substr(0, at)), cut), isLast ? Ok : ErrBadFormat);
        EXPECT_EQ(report_.damage, at == 0 ? Damage::NoHeader : Damage::CutOff) << at;
        for (int bit = 1; bit < 256; bit *= 2) {
            std::string flipped = whole;
            flipped[at] = static_cast<char>(flipped[at] ^ bit);
            MemoryStream stream(cConfigFileReadFlags, flipped);
            CVarList read;
            EXPECT_TRUE(ReadConfiguration(stream, read, nullptr) == ErrBadFormat ||
                        (isLast && Dump(read) == Dump(list)))
                << at;
        }
    }
}

// A large file is set with a delay: equal names meet within it, and what was read before the stream
// throws is set all the same. After the first thousand, the list is short or has a table of names.
TEST_F(ConfigFile, SetsManyVariablesInOrderAlsoIfTheStreamThrows) {
    struct Stream : MemoryStream {
        using MemoryStream::MemoryStream;
        bool AtEOF() override {
            return Pos() >= throwsAt ? throw std::bad_alloc() : MemoryStream::AtEOF();
        }
        unsigned long throwsAt = std::string::npos;
    };
    for (const int namesAtFirst : {5, 50}) {
        std::string plain;
        CVarList expected;
        for (int i = 0; i < 50'000; ++i) {
            const int later = i % 11 == 0 ? 5'001 : i / 3 * 3 % 39'999;
            const int number = i < 5'000 ? i % namesAtFirst : later;
            const std::string name = (i % 7 == 0 ? "%" : "") + std::to_string(number);
            const std::string value(i % 9'999 == 2'000 ? 70'000 : 3,
                                    static_cast<char>('a' + i % 26));
            expected.SetValue(name.c_str(), value.c_str(), false);
            plain += name + '\0' + value + '\0';
        }
        for (const unsigned long throwsAt : {std::string::npos, plain.size()}) {
            Stream stream(cConfigFileReadFlags, scrambled(plain + '\0'));
            stream.block = 4096;
            stream.throwsAt = throwsAt;
            CVarList list;
            try {
                ReadVariables(stream, list);
                EXPECT_EQ(throwsAt, std::string::npos);
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(throwsAt, plain.size());
            }
            EXPECT_TRUE(Dump(list) == Dump(expected)) << namesAtFirst;
        }
    }
}

}  // namespace
}  // namespace Tova
