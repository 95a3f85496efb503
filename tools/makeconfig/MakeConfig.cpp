// Makes a configuration file of its readable source, for the build of this project:
//
//   tv_make_config SOURCE FILE
//
// Each line of SOURCE is NAME=VALUE, or %NAME=VALUE for a fixed variable. Empty lines and lines
// that begin with "#" are left out. tvtool makes the same file, and can do more.
#include "streams/CFileStream.h"
#include "vars/ConfigFile.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <string_view>

int main(int count, char** arguments) {
    if (count != 3) {
        std::fputs("usage: tv_make_config SOURCE FILE\n", stderr);
        return 2;
    }
    std::ifstream source(arguments[1]);
    Tova::CVarList list;
    std::string line;
    for (int number = 1; std::getline(source, line); ++number) {
        if (line.empty() || line.front() == '#') {
            continue;
        }
        const auto equals = line.find('=');
        if (equals == std::string::npos || line.find('\\') != std::string::npos) {
            std::fprintf(stderr, "%s:%d: write NAME=VALUE, without a backslash\n", arguments[1],
                         number);
            return 1;
        }
        const std::string_view text(line);
        list.SetValue(text.substr(0, equals), text.substr(equals + 1), false);
    }
    Tova::CFSPath path;
    path.Set(CFURLCreateFromFileSystemRepresentation(
                 kCFAllocatorDefault, reinterpret_cast<const UInt8*>(arguments[2]),
                 static_cast<CFIndex>(std::strlen(arguments[2])), false),
             true);
    Tova::CFileStream stream;
    if (!source.eof() || stream.Open(path, Tova::cConfigFileWriteFlags, nullptr) < 0 ||
        !Tova::WriteConfiguration(stream, list)) {
        std::fprintf(stderr, "tv_make_config: cannot make %s of %s\n", arguments[2], arguments[1]);
        return 1;
    }
    return 0;
}
