#include "registry/CRegistry.h"

#include "fs/CLocalFileSystem.h"
#include "registry/RegParser.h"
#include "streams/CFileStream.h"

#include <cstring>
#include <utility>

namespace Tova {

namespace {

constexpr char cFilePrefix[] = "FILE:";

}  // namespace

CMemRegistry::CMemRegistry() {
    SetNode(new CRegNode(RegNodeType::Directory, nullptr, "(root)", nullptr));
}

CMemRegistry::~CMemRegistry() {
    delete ReleaseNode();
}

CRegistry::CRegistry(bool /*unused*/) {}

RStatus CRegistry::Read() {
    struct Restore {
        bool& flag;
        const bool saved = std::exchange(flag, false);
        ~Restore() { flag = saved; }
    } const restore{flag_};
    const RStatus status = DoRead();
    read_ = read_ || status >= 0;
    Node()->SetUnmodified();
    return status;
}

CRegistry* CRegistry::Create(const char* spec) {
    constexpr std::size_t prefixLength = sizeof cFilePrefix - 1;
    if (spec == nullptr || std::strncmp(spec, cFilePrefix, prefixLength) != 0) {
        return nullptr;
    }
    CFSPath path;
    // A path that cannot be expanded stays empty, and reading then fails.
    LFS.MakePath(spec + prefixLength, path);
    return new CFileRegistry(path, true);
}

CFileRegistry::CFileRegistry(const CFSPath& path, bool flag) : CRegistry(flag) {
    filePath_.Copy(path);
}

RStatus CFileRegistry::DoRead() {
    CFileStream stream;
    RStatus status = stream.Open(filePath_, CFileStream::cReadOnly | CStream::cTranslate, nullptr);
    if (status < 0) {
        return status;
    }
    RegReadReport report;
    status = ReadFromStream(stream, report);
    lacksMemory_ = report.lacksMemory;
    stream.Close();  // nothing was written, so a failure loses nothing
    return status;
}

}  // namespace Tova
