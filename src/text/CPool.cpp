#include "text/CPool.h"

#include <sys/mman.h>

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace Tova {

namespace {

// The first chunk is small, because most trees and lists are.
constexpr std::size_t cSmallestChunk = 1024;
constexpr std::size_t cLargestChunk = std::size_t{16} * 1024 * 1024;

// Asks for huge pages inside a large block, where the system has them. The first access to a page
// costs far more than a piece of it, so that a registry of 50 MB is read in a third of the time.
void useHugePages([[maybe_unused]] void* memory, [[maybe_unused]] std::size_t size) {
#ifdef MADV_HUGEPAGE
    constexpr std::size_t cHugePage = std::size_t{2} * 1024 * 1024;
    constexpr std::size_t cPage =
        std::size_t{64} * 1024;  // a multiple of the page size of every system
    if (size >= cHugePage && std::align(cPage, cHugePage, memory, size) != nullptr) {
        madvise(memory, size / cPage * cPage, MADV_HUGEPAGE);  // only advice, so it may fail
    }
#endif
}

}  // namespace

CPool::~CPool() {
    // The oldest goes first, so that the C library gives memory back to the system once, at the
    // end.
    for (Block* block = blocks_.previous; block != &blocks_;) {
        ::operator delete(std::exchange(block, block->previous));
    }
}

void* CPool::AllocateOtherwise(std::size_t size) {
    const std::size_t units = Units(size);
    if (units > cMostUnits) {
        return AllocateBlock(size);
    }
    if (FreePiece* piece = free_[units]; piece != nullptr) {
        free_[units] = piece->next;
        return piece;
    }
    if (units > unusedUnits_) {
        StartChunk();
    }
    unusedUnits_ -= units;
    return std::exchange(unused_, unused_ + units * cUnit);
}

void CPool::Free(void* memory, std::size_t size) noexcept {
    const std::size_t units = Units(size);
    if (units <= cMostUnits) {
        KeepPiece(memory, units);
        return;
    }
    Block* block = static_cast<Block*>(memory) - 1;
    block->previous->next = block->next;
    block->next->previous = block->previous;
    ::operator delete(block);
}

void* CPool::AllocateBlock(std::size_t size) {
    size += sizeof(Block);
    void* memory = ::operator new(size);
    useHugePages(memory, size);
    auto* block = ::new (memory) Block{blocks_.next, &blocks_};
    block->next->previous = block;
    blocks_.next = block;
    return block + 1;
}

void CPool::KeepPiece(void* memory, std::size_t units) noexcept {
    free_[units] = ::new (memory) FreePiece{free_[units]};
}

// Keeps the rest of the last chunk as a free piece. The rest is smaller than a piece can be. A new
// chunk has a quarter of what there is, so that there are few, and little of the last is unused.
void CPool::StartChunk() {
    const std::size_t size =
        std::clamp(chunkBytes_ / 4 / cUnit * cUnit, cSmallestChunk, cLargestChunk);
    auto* chunk = static_cast<std::byte*>(AllocateBlock(size));
    if (unusedUnits_ > 0) {
        KeepPiece(unused_, unusedUnits_);
    }
    unused_ = chunk;
    unusedUnits_ = size / cUnit;
    chunkBytes_ += size;
}

}  // namespace Tova
