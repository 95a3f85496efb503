// Reads the same bytes byte by byte, in blocks and all at once, with the same operations: a byte
// for the flags, then a line of operations, then the stored bytes.
#include "fuzz/FuzzTarget.h"
#include "tests/streams/MemoryStream.h"

#include <string>

namespace {

using Tova::CStream;
using tvfuzz::Require;

constexpr unsigned cFlags[] = {CStream::cTranslate, CStream::cCheckValue, CStream::cScramble,
                               CStream::cCountLines};

// Returns what the operations gave, and where they left the stream.
std::string run(tvtest::MemoryStream& stream, const std::string& operations) {
    std::string log;
    const auto note = [&log](auto... values) { ((log += std::to_string(values) + " "), ...); };
    for (std::size_t i = 0; i + 1 < operations.size(); i += 2) {
        const int number = static_cast<signed char>(operations[i + 1]);
        Tova::CString line;
        int count = 0;
        unsigned long done = 0;
        char buffer[128];
        switch (static_cast<unsigned char>(operations[i]) % 7) {
        case 0:
            note(stream.ReadChar(count), count);
            break;
        case 1:
            note(stream.ReadRawByte(count), count);
            break;
        case 2:
            note(stream.ReadToDelim(line, number, -1, &count), count);
            log.append(line.CStr(), static_cast<std::size_t>(line.Length()));
            break;
        case 3:
            note(stream.ReadToDelim(line, '\n', number, &count), count);
            log.append(line.CStr(), static_cast<std::size_t>(line.Length()));
            break;
        case 4:
            stream.SetPushedBack(number);
            break;
        case 5:
            note(stream.SetPos(static_cast<unsigned char>(number)));
            break;
        default:
            note(stream.Read(static_cast<unsigned long>(number & 127), buffer, &done), done);
            log.append(buffer, done);
        }
        note(stream.Pos(), stream.AtEOF(), stream.GetLineCount(), stream.GetCheckValue());
    }
    return log;
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvfuzz::Input input(data, size);
    const int bits = input.Below(16);
    unsigned flags = 0;
    for (unsigned i = 0; i < std::size(cFlags); ++i) {
        flags |= (bits >> i & 1) != 0 ? cFlags[i] : 0;
    }
    const std::string operations = input.Until('\n').substr(0, 400), stored = input.Rest();
    tvtest::MemoryStream reference(flags, stored);
    const std::string expected = run(reference, operations);
    for (const unsigned long block : {1UL, 2UL, 7UL, 1000000UL}) {
        tvtest::MemoryStream stream(flags, stored);
        stream.block = block;
        Require(run(stream, operations) == expected, "blocks do not matter");
    }

    // A stream gives back what was written to it, byte for byte.
    tvtest::MemoryStream written(flags & ~CStream::cTranslate);
    for (const char c : stored) {
        Require(written.WriteChar(c), "bytes can be written");
    }
    Require(written.SetPos(0) && written.bytes.size() == stored.size(), "each is one byte");
    for (const char c : stored) {
        int end = 0;
        Require(written.ReadChar(end) == c && end == 0, "and is read back");
    }
    return 0;
}
