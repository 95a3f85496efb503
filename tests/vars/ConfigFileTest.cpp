#include "vars/ConfigFile.h"

#include "streams/CFileStream.h"
#include "streams/Scrambling.h"
#include "tests/streams/MemoryStream.h"
#include "tests/support/TempHome.h"
#include "tests/vars/VarsTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <string>
#include <thread>

#include <sys/stat.h>

namespace Tova {
namespace {

using Damage = ConfigFileReport::Damage;
using tvtest::Dump;
using tvtest::Fill;
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
        CFSPath file;
        EXPECT_GE(file.FromUnixPath(path.c_str()), 0);
        return ReadConfiguration(file, list, &report_);
    }
    std::string Written(const CVarList& list) {
        const std::string path = dir_.Path("written");
        CFSPath file;
        EXPECT_GE(file.FromUnixPath(path.c_str()), 0);
        EXPECT_EQ(list.WriteToFile(file), Ok);
        return tvtest::ReadFile(path);
    }

    tvtest::TempDir dir_;
    ConfigFileReport report_;
};

TEST_F(ConfigFile, WritesTheBytesOfTheFormatAndReadsThemBack) {
    const struct {
        tvtest::Pairs vars;
        std::string plain;
    } cases[] = {
        {{},
         cHeader + "\0"s
                   "3179\0"s},
        {{{"%A", "1"}}, cHeader + "%A\0001\0\0003330\0"s},
        {{{"A", ""}, {"B", "\xFF\n%<"}, {"%", "x"}},
         cHeader + "A\0\0B\0\xFF\n%<\0%\0x\0\0003829\0"s},
    };
    for (const auto& c : cases) {
        CVarList list;
        Fill(list, c.vars);
        EXPECT_EQ(Written(list), scrambled(c.plain));
        CVarList back;
        EXPECT_EQ(Read(dir_.Path("written"), back), Ok);
        EXPECT_EQ(Dump(back), Dump(list));
        EXPECT_EQ(report_.damage, Damage::None);
    }
}

TEST_F(ConfigFile, ReadingAddsAndWritingReplaces) {
    CVarList list;
    Fill(list, {{"A", std::string(5000, 'x')}});
    Written(list);
    list.Empty();
    Fill(list, {{"A", "1"}, {"%B", "2"}});
    EXPECT_LT(Written(list).size(), 60U);
    CVarList target;
    Fill(target, {{"B", "old"}, {"C", "3"}, {"%A", "kept"}});
    EXPECT_EQ(Read(dir_.Path("written"), target), Ok);
    EXPECT_EQ(Dump(target), "%B=2;C=3;%A=kept");
    // Only opening is reported by the list itself.
    CFSPath full;
    ASSERT_GE(full.FromUnixPath("/dev/full"), 0);
    EXPECT_EQ(list.WriteToFile(full), Ok);
    CFileStream stream;
    ASSERT_GE(stream.Open(full, cConfigFileWriteFlags, nullptr), 0);
    EXPECT_FALSE(WriteConfiguration(stream, list));
}

TEST_F(ConfigFile, TellsWhichDamageItIs) {
    const std::string body = "A\0001\0\0"s;
    const struct {
        std::string plain;
        RStatus status;
        Damage damage;
        std::uint32_t stored;
        const char* list;
    } cases[] = {
        {cHeader + body + "3293\0"s, Ok, Damage::None, 3293, "A=1"},
        {cHeader + body + " +3293 years\0rest"s, Ok, Damage::None, 3293, "A=1"},
        {cHeader + body + "4294970589\0"s, Ok, Damage::None, 3293, "A=1"},
        {cHeader + body + "3293"s, Ok, Damage::CutOff, 3293, "A=1"},
        {cHeader + body + "3294\0"s, ErrBadFormat, Damage::CheckValueDiffers, 3294, "A=1"},
        {cHeader + body + "\0"s, ErrBadFormat, Damage::CheckValueDiffers, 0, "A=1"},
        {cHeader + body, ErrBadFormat, Damage::CutOff, 0, "A=1"},
        {cHeader + "A\0001"s, ErrBadFormat, Damage::CutOff, 0, "A=1"},
        {cHeader, ErrBadFormat, Damage::CutOff, 0, ""},
        {"Nimbus", ErrBadFormat, Damage::CutOff, 0, ""},
        {"Nimbus Works Configuration File 1.1\0"s + body, ErrBadFormat, Damage::OtherHeader, 0, ""},
        {"Nimbus Works Configuration File 1.00\0"s, ErrBadFormat, Damage::OtherHeader, 0, ""},
        {"nimbus works configuration file 1.0\0"s, ErrBadFormat, Damage::OtherHeader, 0, ""},
        {"", ErrBadFormat, Damage::NoHeader, 0, ""},
        {"a text that is something else\n", ErrBadFormat, Damage::NoHeader, 0, ""},
    };
    for (const auto& c : cases) {
        // Once in blocks, once from a stream that can only be read byte by byte.
        tvtest::MemoryStream stream(cConfigFileReadFlags, scrambled(c.plain));
        const std::string path = dir_.Write("f", scrambled(c.plain));
        for (const bool fromFile : {true, false}) {
            CVarList list;
            EXPECT_EQ(fromFile ? Read(path, list) : ReadConfiguration(stream, list, &report_),
                      c.status)
                << c.plain;
            EXPECT_EQ(report_.damage, c.damage) << c.plain;
            EXPECT_EQ(report_.stored, c.stored) << c.plain;
            EXPECT_EQ(Dump(list), c.list);
        }
    }
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
            tvtest::MemoryStream stream(cConfigFileReadFlags, flipped);
            CVarList read;
            EXPECT_TRUE(ReadConfiguration(stream, read, nullptr) == ErrBadFormat ||
                        (isLast && Dump(read) == Dump(list)))
                << at;
        }
    }
}

TEST_F(ConfigFile, FoldersAndFifos) {
    CVarList list;
    EXPECT_EQ(Read(dir_.Path("missing"), list), ErrNotFound);
    EXPECT_EQ(report_.damage, Damage::Unreadable);
    EXPECT_EQ(Read(dir_.Path(), list), ErrBadFormat);  // a folder opens but cannot be read
    EXPECT_EQ(report_.damage, Damage::Unreadable);
    EXPECT_EQ(list.ReadFromEncryptedFile(CFSPath()), ErrNotFound);

    Fill(list, {{"A", std::string(100000, 'x')}, {"B", "2"}});
    const std::string bytes = Written(list);
    const std::string path = dir_.Path("fifo");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    std::thread writer([&] { std::ofstream(path, std::ios::binary) << bytes; });
    CVarList read;
    EXPECT_EQ(Read(path, read), Ok);
    writer.join();
    EXPECT_EQ(Dump(read), Dump(list));
}

// 200 MB without a NUL: what is no configuration file fails after its first bytes. One long text is
// read without copying it over and over.
TEST_F(ConfigFile, LargeFilesTakeProportionalTime) {
    constexpr std::uintmax_t cSize = 50'000'000;
    const std::string path = dir_.Write("large", "");
    std::filesystem::resize_file(path, 4 * cSize);
    CVarList list;
    EXPECT_EQ(Read(path, list), ErrBadFormat);
    EXPECT_EQ(report_.header.Length(), static_cast<int>(cHeader.size()));

    dir_.Write("large", scrambled(cHeader));
    std::filesystem::resize_file(path, cSize);
    EXPECT_EQ(Read(path, list), ErrBadFormat);
    EXPECT_EQ(report_.damage, Damage::CutOff);
    ASSERT_NE(list.First(), nullptr);
    EXPECT_EQ(std::strlen(list.First()->Name()), cSize - cHeader.size());
}

}  // namespace
}  // namespace Tova
