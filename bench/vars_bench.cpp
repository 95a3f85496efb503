// Substituting variables into 8-bit and platform strings, and how the cost of lists and templates
// grows.
#include "bench/Bench.h"
#include "text/CFRef.h"
#include "vars/CFormat.h"
#include "vars/CVarList.h"

#include <absl/strings/str_replace.h>
#include <glib.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace {

using Tova::CString;
using Tova::CVarList;

struct ViewHash : std::hash<std::string_view> {
    using is_transparent = void;
};
using Map = std::unordered_map<std::string, std::string, ViewHash, std::equal_to<>>;

// What a caller would write: one pass over the text with a map that was built before.
std::string scan(const Map& vars, std::string_view text) {
    std::string out;
    out.reserve(text.size() + text.size() / 4);
    std::size_t at = 0;
    for (std::size_t open = 0; (open = text.find('<', at)) != std::string_view::npos;) {
        const std::size_t close = text.find('>', open);
        if (close == std::string_view::npos) {
            break;
        }
        out.append(text, at, open - at);
        const auto found = vars.find(text.substr(open + 1, close - open - 1));
        if (found != vars.end()) {
            out += found->second;
        } else {
            out.append(text, open, close + 1 - open);
        }
        at = close + 1;
    }
    return out.append(text.substr(at));
}

// A text with a placeholder in each 50 bytes, and the variables for it.
struct Sample {
    CVarList list;
    Map map;
    std::vector<std::pair<std::string, std::string>> replacements;
    std::string text;
    std::string result;
    std::u16string wideText;
    Tova::CFRef<CFStringRef> platformText;
};

std::shared_ptr<Sample> makeSample(std::size_t size, std::size_t vars) {
    constexpr std::size_t cStep = 50;
    constexpr std::size_t cStride = 7919;  // visits the variables in no order of theirs
    auto sample = std::make_shared<Sample>();
    for (std::size_t i = 0; i < vars; ++i) {
        const std::string name = "Name" + std::to_string(i);
        const std::string value = "value no. " + std::to_string(i);
        sample->list.SetValue(name.c_str(), value.c_str(), false);
        sample->map.emplace(name, value);
        sample->replacements.emplace_back("<" + name + ">", value);
    }
    for (std::size_t i = 0; sample->text.size() < size; ++i) {
        std::string piece =
            "<Name" + std::to_string(i * cStride % vars) + "> and more words of a text";
        piece.resize(cStep, '.');
        sample->text += piece;
    }
    sample->result = scan(sample->map, sample->text);
    sample->wideText.assign(sample->text.begin(), sample->text.end());
    sample->platformText = Tova::CFRef<CFStringRef>(
        CFStringCreateWithCString(nullptr, sample->text.c_str(), kCFStringEncodingUTF8));
    return sample;
}

void addSubstitution(std::size_t size, std::size_t vars) {
    const std::string work = "substitute, 8-bit, " + std::to_string(vars) + " variables";
    bench::Add(work, size, "ours", [=] {
        const auto sample = makeSample(size, vars);
        CString once(sample->text.c_str());
        sample->list.Apply(once, nullptr);
        bench::Require(once.CStr() == sample->result, work + ": ours");
        return [sample] {
            CString text(sample->text.c_str());
            benchmark::DoNotOptimize(sample->list.Apply(text, nullptr));
        };
    });
    bench::Add(work, size, "scanner", [=] {
        const auto sample = makeSample(size, vars);
        return [sample] { benchmark::DoNotOptimize(scan(sample->map, sample->text)); };
    });
    // It looks for each of the variables before it begins, which takes minutes with 10,000.
    if (vars <= 100) {
        bench::Add(work, size, "absl", [=] {
            const auto sample = makeSample(size, vars);
            bench::Require(absl::StrReplaceAll(sample->text, sample->replacements) ==
                               sample->result,
                           work + ": absl");
            return [sample] {
                benchmark::DoNotOptimize(absl::StrReplaceAll(sample->text, sample->replacements));
            };
        });
    }
    bench::Add(work, size, "memcpy", [=] {
        const auto sample = makeSample(size, vars);
        return [sample] {
            std::memcpy(sample->result.data(), sample->text.data(), sample->text.size());
            benchmark::DoNotOptimize(sample->result.data());
            benchmark::ClobberMemory();
        };
    });
}

void freeText(void* text) {
    g_free(text);
}
using Utf8 = std::unique_ptr<char, void (*)(void*)>;
using Utf16 = std::unique_ptr<gunichar2, void (*)(void*)>;

// Converts, scans and converts back.
Utf16 scanWide(const Sample& sample) {
    const auto* units = reinterpret_cast<const gunichar2*>(sample.wideText.data());
    glong length = 0;
    const Utf8 narrow(g_utf16_to_utf8(units, static_cast<glong>(sample.wideText.size()), nullptr,
                                      &length, nullptr),
                      freeText);
    const std::string done = scan(sample.map, {narrow.get(), static_cast<std::size_t>(length)});
    return Utf16(
        g_utf8_to_utf16(done.data(), static_cast<glong>(done.size()), nullptr, nullptr, nullptr),
        freeText);
}

void addPlatformSubstitution(std::size_t size, std::size_t vars) {
    const std::string work = "substitute, platform string, " + std::to_string(vars) + " variables";
    bench::Add(work, size, "ours", [=] {
        const auto sample = makeSample(size, vars);
        const auto apply = [sample] {
            Tova::CFRef<CFMutableStringRef> text(
                CFStringCreateMutableCopy(nullptr, 0, sample->platformText.Get()));
            benchmark::DoNotOptimize(sample->list.Apply(text.Get(), CFSTR("<>")));
            return text;
        };
        const auto once = apply();
        bench::Require(CFStringGetLength(once.Get()) == static_cast<CFIndex>(sample->result.size()),
                       work + ": ours");
        return [apply] { apply(); };
    });
    bench::Add(work, size, "scanner", [=] {
        const auto sample = makeSample(size, vars);
        return [sample] { benchmark::DoNotOptimize(scanWide(*sample)); };
    });
}

// Each value refers to the next variable.
void addNestedValues(std::size_t depth) {
    bench::Add("growth: values that nest", depth, "ours", [=] {
        auto list = std::make_shared<CVarList>();
        for (std::size_t i = 0; i < depth; ++i) {
            const std::string value = "(<" + std::to_string(i + 1) + ">)";
            list->SetValue(std::to_string(i).c_str(), value.c_str(), false);
        }
        CString once("<0>");
        bench::Require(list->Apply(once, nullptr) == static_cast<int>(depth), "nested values");
        return [list] {
            CString text("<0>");
            benchmark::DoNotOptimize(list->Apply(text, nullptr));
        };
    });
}

void addGetValues(std::size_t count) {
    bench::Add("growth: GetValues of variables", count, "ours", [=] {
        const auto sample = makeSample(0, count);
        return [sample] {
            CString query;
            bench::Require(sample->list.GetValues(query) ==
                               static_cast<int>(sample->replacements.size()),
                           "GetValues");
        };
    });
}

void addItem(std::size_t count) {
    bench::Add("growth: Item of placeholders", count, "ours", [=] {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) {
            text += "<w> and ";
        }
        return [text] {
            Tova::CFormat format(text.c_str(), nullptr, Tova::CFormat::cKeepVariables);
            bench::Require(format.Item("w", "word", Tova::CFormat::FmtString), "Item");
        };
    });
}

}  // namespace

int main(int argc, char** argv) {
    return bench::Main(argc, argv, [] {
        addSubstitution(100, 10);
        addPlatformSubstitution(100, 10);
        for (const std::size_t vars : {10UL, 100UL, 10'000UL}) {
            addSubstitution(1'000'000, vars);
            addPlatformSubstitution(1'000'000, vars);
        }
        for (const std::size_t count : {1'000UL, 10'000UL, 100'000UL}) {
            addNestedValues(count / 10);
            addGetValues(count);
            addItem(count);
        }
    });
}
