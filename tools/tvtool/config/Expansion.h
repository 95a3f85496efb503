// Follows the substitution of variables into a text step by step, and remembers where everything
// came from. So it can tell whether the substitution would ever end before it is made, and where
// what is left undefined in the result has its origin. Texts are UTF-16, as in the substitution.
#pragma once

#include "tvtool/base/Escapes.h"
#include "vars/CVarList.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tvtool {

// What looks like a placeholder: a name between the delimiters. A name that no variable has counts
// only where it is not empty, has no blank at its ends, and lies in one line.
struct Placeholder {
    std::u16string name;
    // Where it begins; where it came out of a value: where the placeholder begins that led to it.
    std::size_t offset = 0;
    bool isDefined = false;
    // The variables that led to it, the outermost first. Empty: it stands in the text itself.
    std::vector<std::string> through;
};

// Moves `place` over a piece of text.
void Advance(Place& place, std::u16string_view passed);
Place PlaceOf(std::u16string_view text, std::size_t offset);

class Expansion {
public:
    // Characters of a text and of its result, and the number of replacements beyond the length of
    // the text. More is refused.
    static constexpr std::size_t cMaxLength = 16U << 20;
    static constexpr std::size_t cMaxSteps = 1'000'000;

    // Copies what it needs of `vars`. Variables that the system encoding cannot decode are left
    // out, as the substitution leaves them out.
    Expansion(const Tova::CVarList& vars, char16_t open, char16_t close);

    // Goes through the substitution into `text`. ToolError (Damaged) when values refer to each
    // other in a circle, or (Failed) when a bound is exceeded; `name` is the text's.
    //
    // How a circle shows: each replacement uses up two delimiters. It is one step deeper than the
    // less deep of the two replacements that brought these (a text's own have depth 0). Since
    // every depth has a finite supply of delimiters, only a substitution that never ends becomes
    // ever deeper; and one that is deeper than there are variables has come through one of them
    // twice.
    void Follow(std::u16string_view text, const std::string& name);
    // What is left in the result of Follow, in its order: nobody defines it.
    std::vector<Placeholder> Undefined() const;

    // The placeholders that stand in `text`, each name once.
    std::vector<Placeholder> List(std::u16string_view text) const;

private:
    struct Variable {
        std::u16string name;
        std::u16string value;
        std::string label;
    };
    // One replacement. Step 0 stands for the text.
    struct Step {
        std::uint32_t variable;
        std::uint32_t cause;  // the step whose value led to it
        std::uint32_t depth;
        std::uint32_t offset;  // in the text, of the placeholder that led to it
    };
    struct Unit {
        char16_t character;
        std::uint32_t step;
        std::uint32_t offset;
    };
    struct Source;

    Unit Take(Source& source) const;
    void Scan(std::u16string_view text);
    void Pass(std::u16string_view text);
    bool ReplaceAll(std::uint32_t variable);
    std::uint32_t AddStep(std::uint32_t variable, const Unit& open, const Unit& close);
    void Append(const Unit& unit, std::vector<Unit>& to) const;
    void AppendValue(std::uint32_t step, std::vector<Unit>& to) const;
    std::vector<std::string> Trail(std::uint32_t step) const;
    // Does nothing when the causes of `step` hold no variable twice.
    void RefuseCircle(std::uint32_t step) const;
    [[noreturn]] void RefuseSize(const std::string& what) const;
    bool LooksLikeName(std::u16string_view name) const;
    std::vector<Placeholder> Find(const std::vector<Unit>& units) const;
    std::vector<Unit> UnitsOfText(std::u16string_view text) const;

    const char16_t open_;
    const char16_t close_;
    std::vector<Variable> variables_;
    std::unordered_map<std::u16string_view, std::uint32_t> byName_;
    // Whether the order of replacements does not matter, so that one scan will do.
    bool canScan_;

    std::string textName_;
    std::size_t maxSteps_ = 0;
    std::vector<Step> steps_;
    std::vector<Unit> result_;
};

}  // namespace tvtool
