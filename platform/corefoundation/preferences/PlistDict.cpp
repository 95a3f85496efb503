#include "corefoundation/preferences/Plist.h"
#include "posix/KeyedHash.h"

#include <algorithm>

namespace tvplatform {

namespace {

std::uint32_t hashOf(std::string_view key) {
    return static_cast<std::uint32_t>(tvposix::KeyedHash(key));
}

}  // namespace

std::size_t PlistDict::SlotOf(std::string_view key, std::uint32_t hash) const {
    std::size_t at = hash & (slots_.size() - 1);
    for (; slots_[at].place != 0; at = (at + 1) & (slots_.size() - 1)) {
        if (slots_[at].hash == hash && entries_[slots_[at].place - 1].key == key) {
            break;
        }
    }
    return at;
}

PlistValue PlistDict::Find(std::string_view key) const {
    if (entries_.empty()) {
        return nullptr;
    }
    const Slot& slot = slots_[SlotOf(key, hashOf(key))];
    return slot.place != 0 ? entries_[slot.place - 1].value : nullptr;
}

void PlistDict::Set(std::string key, PlistValue value) {
    Reserve(entries_.size() + 1);
    const std::uint32_t hash = hashOf(key);
    Slot& slot = slots_[SlotOf(key, hash)];
    if (slot.place != 0) {
        entries_[slot.place - 1].value = std::move(value);
        return;
    }
    entries_.push_back({std::move(key), std::move(value)});
    slot = {hash, static_cast<std::uint32_t>(entries_.size())};
}

// Leaves a quarter of the slots free.
void PlistDict::Reserve(std::size_t count) {
    if (count <= slots_.size() / 4 * 3) {
        return;
    }
    constexpr std::size_t cFewest = 8;
    std::vector<Slot> grown(std::max(slots_.size() * 2, cFewest));
    for (const Slot& slot : slots_) {
        if (slot.place != 0) {
            std::size_t at = slot.hash & (grown.size() - 1);
            while (grown[at].place != 0) {
                at = (at + 1) & (grown.size() - 1);
            }
            grown[at] = slot;
        }
    }
    slots_ = std::move(grown);
}

}  // namespace tvplatform
