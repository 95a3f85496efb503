#include "tvtool/base/Suggestions.h"

#include "tvtool/base/Escapes.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>

namespace tvtool {

namespace {

// Longer words are never compared, so that the time has a bound.
constexpr std::size_t cLongest = 64;

char lower(char c) {
    return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// Returns how many characters have to be added, removed or replaced, in any case, to make one word
// of the other.
std::size_t distance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (lower(a[i]) == lower(b[j]) ? 0 : 1);
            diagonal = row[j + 1];
            row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
        }
    }
    return row.back();
}

}  // namespace

std::string Suggest(const std::string& typed, const std::vector<std::string>& known) {
    std::size_t least = std::min<std::size_t>(typed.size() / 2, 3) + 1;
    std::string best;
    for (const std::string& word : known) {
        if (std::max(typed.size(), word.size()) <= cLongest && distance(typed, word) < least) {
            least = distance(typed, word);
            best = word;
        }
    }
    return best.empty() ? "" : "; did you mean " + Quote(best) + "?";
}

}  // namespace tvtool
