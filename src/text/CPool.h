// Memory for the many small parts of a registry tree or a list of variables. It gives small pieces
// out of large chunks, keeps what is freed for the next piece of that size, and frees everything at
// once when it is destroyed. One thread at a time may use it.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory_resource>
#include <utility>

namespace Tova {

class CPool : public std::pmr::memory_resource {
public:
    CPool() = default;
    // Frees all memory, also what was not given back. Destroys no object in it.
    ~CPool() override;
    CPool(const CPool&) = delete;
    CPool& operator=(const CPool&) = delete;

    // Returns `size` bytes for objects that need the alignment of a pointer. Throws std::bad_alloc.
    void* Allocate(std::size_t size) {
        const std::size_t units = Units(size);
        if (units > unusedUnits_ || units > cMostUnits || free_[units] != nullptr) {
            return AllocateOtherwise(size);
        }
        unusedUnits_ -= units;
        return std::exchange(unused_, unused_ + units * cUnit);
    }
    // Takes back what Allocate returned for the same size.
    void Free(void* memory, std::size_t size) noexcept;

    // A piece takes a whole number of units, at least one.
    static constexpr std::size_t cUnit = sizeof(void*);
    static constexpr std::size_t Units(std::size_t size) {
        return std::max<std::size_t>((size + cUnit - 1) / cUnit, 1);
    }
    // A piece of more units than this has memory of its own.
    static constexpr std::size_t cMostUnits = 64;

private:
    // Chunks and pieces with memory of their own stand in a list behind such a header.
    struct Block {
        Block* next;
        Block* previous;
    };
    struct FreePiece {
        FreePiece* next;
    };

    void* AllocateOtherwise(std::size_t size);
    void* AllocateBlock(std::size_t size);
    void KeepPiece(void* memory, std::size_t units) noexcept;
    void StartChunk();

    void* do_allocate(std::size_t size, std::size_t) final { return Allocate(size); }
    void do_deallocate(void* memory, std::size_t size, std::size_t) final { Free(memory, size); }
    bool do_is_equal(const std::pmr::memory_resource& other) const noexcept final {
        return this == &other;
    }

    Block blocks_{&blocks_, &blocks_};
    std::byte* unused_ = nullptr;  // what is left of the last chunk
    std::size_t unusedUnits_ = 0;
    std::size_t chunkBytes_ = 0;                     // of all chunks
    std::array<FreePiece*, cMostUnits + 1> free_{};  // by their units
};

}  // namespace Tova
