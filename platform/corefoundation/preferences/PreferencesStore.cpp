#include "corefoundation/preferences/PreferencesStore.h"

#include "corefoundation/object/ForkLocks.h"
#include "corefoundation/preferences/PreferencesFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <map>
#include <set>
#include <unordered_map>

namespace tvplatform {

namespace {

// A value that waits to be written, or null for a removal. A later change has a greater number.
struct Change {
    PlistValue value;
    std::uint64_t number;
};
using Changes = std::map<std::string, Change>;

using Contents = PlistDict;

// Returns true if the changes set something or remove an entry that is there.
bool wouldChange(const Contents& contents, const Changes& changes) {
    return std::any_of(changes.begin(), changes.end(), [&](const auto& change) {
        return change.second.value || contents.Find(change.first);
    });
}

// Returns the changed contents. Changed keys keep their places, new ones follow.
Contents changed(const Contents& contents, const Changes& changes) {
    Contents result;
    for (const PlistEntry& entry : contents.Entries()) {
        const auto change = changes.find(entry.key);
        const PlistValue& value = change != changes.end() ? change->second.value : entry.value;
        if (value) {
            result.Set(entry.key, value);
        }
    }
    for (const auto& [key, change] : changes) {
        if (change.value) {
            result.Set(key, change.value);
        }
    }
    return result;
}

struct State {
    Changes pending;
    // Null until the file is read for the first time.
    std::shared_ptr<const Contents> contents;
    // The number of the moment before the file was read.
    std::uint64_t contentsNumber = 0;
};

// All domains by their files. This is never destroyed, because other static objects may use it
// late.
class Memory {
public:
    static Memory& Get() {
        // A fork waits for this lock, so no child finds the making half-way.
        const std::lock_guard guard(LockOf(ForkLock::Preferences));
        static Memory& sMemory = *new Memory;
        return sMemory;
    }

    // Runs `work` on a domain's state with the lock held. `work` must neither wait nor call out.
    template <class Work>
    auto With(const PreferencesDomain& domain, Work work) {
        const std::lock_guard guard(LockOf(ForkLock::Preferences));
        return work(states_[domain.file]);
    }
    // Call this with the lock held. Later numbers are greater.
    std::uint64_t NextNumber() { return ++number_; }

private:
    Memory() = default;

    std::unordered_map<std::string, State> states_;
    std::uint64_t number_ = 0;
};

// A domain's state at one moment.
struct Moment {
    Changes pending;
    std::shared_ptr<const Contents> contents;
    std::uint64_t number;
};

Moment look(const PreferencesDomain& domain) {
    Memory& memory = Memory::Get();
    return memory.With(domain, [&](State& state) {
        return Moment{state.pending, state.contents, memory.NextNumber()};
    });
}

// Keeps `contents` as those of the file, unless newer ones are known, and forgets the changes that
// are `done`, unless they were made anew meanwhile. `number` was taken before the file was read. It
// is nullopt if the file has just been read or written under its lock.
void install(const PreferencesDomain& domain, std::shared_ptr<const Contents> contents,
             std::optional<std::uint64_t> number, const Changes& done) {
    Memory& memory = Memory::Get();
    memory.With(domain, [&](State& state) {
        const std::uint64_t age = number ? *number : memory.NextNumber();
        if (age > state.contentsNumber) {
            state.contents = std::move(contents);
            state.contentsNumber = age;
        }
        for (const auto& [key, change] : done) {
            const auto waiting = state.pending.find(key);
            if (waiting != state.pending.end() && waiting->second.number == change.number) {
                state.pending.erase(waiting);
            }
        }
    });
}

// Returns the state with contents: reads the file if this has not been done before.
Moment lookWithContents(const PreferencesDomain& domain) {
    Moment moment = look(domain);
    if (moment.contents == nullptr) {
        auto read = std::make_shared<const Contents>(
            domain.folder ? ReadPreferencesFile(*domain.folder, domain.name).entries : PlistDict());
        install(domain, read, moment.number, {});
        moment.contents = std::move(read);
    }
    return moment;
}

bool canBeReplaced(const PreferencesReading& reading) {
    return reading.error == 0 || reading.error == ENOENT || reading.error == EILSEQ;
}

// Writes the pending changes into the file as it is now, with the changes of other writers. Returns
// 0 or an error number.
int writeChanges(const PreferencesDomain& domain) {
    LockedPreferencesFile file(*domain.folder, domain.name);
    if (file.Error() != 0) {
        return file.Error();
    }
    // An earlier look might undo a change that another thread has set and written meanwhile.
    const Moment moment = look(domain);
    PreferencesReading reading = file.Read();
    auto contents = std::make_shared<const Contents>(std::move(reading.entries));
    int error = canBeReplaced(reading) ? 0 : reading.error;
    if (error == 0 && wouldChange(*contents, moment.pending)) {
        auto next = std::make_shared<const Contents>(changed(*contents, moment.pending));
        error = file.Replace(next->Entries(), reading.error == EILSEQ);
        contents = error == 0 ? std::move(next) : std::move(contents);
    }
    install(domain, std::move(contents), std::nullopt, error == 0 ? moment.pending : Changes());
    return error;
}

}  // namespace

PreferencesDomain FindPreferencesDomain(const std::string& name) {
    auto folder = tvposix::FindConfigFolder();
    std::string file = folder ? folder->path + "/" + name + ".plist" : name;
    return {std::move(folder), name + ".plist", std::move(file)};
}

PlistValue GetPreference(const PreferencesDomain& domain, const std::string& key) {
    // The usual reading copies nothing but the one value.
    const auto known = Memory::Get().With(domain, [&](State& state) -> std::optional<PlistValue> {
        const auto change = state.pending.find(key);
        if (change != state.pending.end()) {
            return change->second.value;
        }
        return state.contents ? std::optional(state.contents->Find(key)) : std::nullopt;
    });
    return known ? *known : lookWithContents(domain).contents->Find(key);
}

std::vector<std::string> GetPreferenceKeys(const PreferencesDomain& domain) {
    const Moment moment = lookWithContents(domain);
    std::set<std::string> keys;
    const Contents all = changed(*moment.contents, moment.pending);
    for (const PlistEntry& entry : all.Entries()) {
        keys.insert(entry.key);
    }
    return {keys.begin(), keys.end()};
}

void SetPreference(const PreferencesDomain& domain, PlistEntry change) {
    Memory& memory = Memory::Get();
    memory.With(domain, [&](State& state) {
        state.pending.insert_or_assign(std::move(change.key),
                                       Change{std::move(change.value), memory.NextNumber()});
    });
}

int SynchronizePreferences(const PreferencesDomain& domain) {
    if (!domain.folder) {
        return ENOENT;
    }
    const Moment moment = look(domain);
    PreferencesReading reading = ReadPreferencesFile(*domain.folder, domain.name);
    const auto contents = std::make_shared<const Contents>(std::move(reading.entries));
    const int error = reading.error == ENOENT ? 0 : reading.error;
    const bool changes = wouldChange(*contents, moment.pending);
    // A removal of an absent key is done.
    install(domain, contents, moment.number, error == 0 && !changes ? moment.pending : Changes());
    return changes && canBeReplaced(reading) ? writeChanges(domain) : error;
}

}  // namespace tvplatform
