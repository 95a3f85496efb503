#include "streams/ScratchBuffer.h"

namespace Tova {

namespace {

// Deliberate: is never freed, because a stream with static storage may still scramble after every
// destructor of this library has run.
struct ScratchBuffer {
    unsigned char* bytes = nullptr;
    unsigned long length = 0;
};

constinit ScratchBuffer sScratch;

}  // namespace

unsigned char* GetTempBuffer(unsigned long size) {
    if (sScratch.bytes == nullptr || sScratch.length < size) {
        auto* larger = new unsigned char[size];
        delete[] sScratch.bytes;
        sScratch.bytes = larger;
        sScratch.length = size;
    }
    return sScratch.bytes;
}

}  // namespace Tova
