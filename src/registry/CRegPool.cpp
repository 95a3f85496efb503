#include "registry/CRegPool.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Tova {

namespace {

// A small tree takes little, and a large one is not made of many small chunks.
constexpr std::size_t cLargestChunk = 64 * 1024;

}  // namespace

CRegPool::~CRegPool() {
    for (Block* block = blocks_.next; block != &blocks_;) {
        ::operator delete(std::exchange(block, block->next));
    }
}

void* CRegPool::Allocate(std::size_t size) {
    const std::size_t units = std::max<std::size_t>(Units(size), 1);
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

void CRegPool::Free(void* memory, std::size_t size) noexcept {
    const std::size_t units = std::max<std::size_t>(Units(size), 1);
    if (units <= cMostUnits) {
        KeepPiece(memory, units);
        return;
    }
    Block* block = static_cast<Block*>(memory) - 1;
    block->previous->next = block->next;
    block->next->previous = block->previous;
    ::operator delete(block);
}

void* CRegPool::AllocateBlock(std::size_t size) {
    auto* block = ::new (::operator new(sizeof(Block) + size)) Block{blocks_.next, &blocks_};
    block->next->previous = block;
    blocks_.next = block;
    return block + 1;
}

void CRegPool::KeepPiece(void* memory, std::size_t units) noexcept {
    free_[units] = ::new (memory) FreePiece{free_[units]};
}

// Keeps the rest of the last chunk as a free piece. The rest is smaller than a piece can be.
void CRegPool::StartChunk() {
    auto* chunk = static_cast<std::byte*>(AllocateBlock(chunkSize_));
    if (unusedUnits_ > 0) {
        KeepPiece(unused_, unusedUnits_);
    }
    unused_ = chunk;
    unusedUnits_ = chunkSize_ / cUnit;
    chunkSize_ = std::min(chunkSize_ * 2, cLargestChunk);
}

}  // namespace Tova
