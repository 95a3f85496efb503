// Watches the substitution of variables into a text (an observer of vars/Substitution.h) and
// remembers where every character of the result comes from. It ends a substitution that would
// never end. Texts are UTF-16, as in the substitution. One thread at a time.
#pragma once

#include "vars/WideVars.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tvtool {

// How a circle shows: each replacement uses up two delimiters. It is one step deeper than the less
// deep of the two replacements that brought these; a text's own delimiters have depth 0. A
// replacement that is deeper than there are variables has come through one of them twice.
// docs/substitution.md says why only a substitution without an end becomes that deep.
class SubstitutionTrail {
public:
    // The most characters that a text and its result may have, and the most replacements beyond the
    // length of the text.
    static constexpr std::size_t cMaxLength = 16U << 20;
    static constexpr std::size_t cMaxSteps = 1'000'000;

    // Borrows `text` and `vars`, which must outlive the object. `name` is the text's name in
    // messages. Throws ToolError (Failed) if the text is too long.
    SubstitutionTrail(std::u16string_view text, const Tova::WideVars& vars, std::string name);

    // The operations of an observer. They throw ToolError: Damaged if values refer to each other in
    // a circle, Failed if a bound is exceeded.
    using Source = std::uint32_t;  // a step, see below
    static constexpr bool cEndsCircles = true;
    void Append(const char16_t* from, std::size_t count, Source source);
    Source Replace(const Tova::WideVar& var, std::size_t open);
    void Turn();
    void Keep(std::size_t from, std::size_t count);
    void EndPass(std::size_t length);

    // Returns where in the text the character of the result at `index` comes from. For a character
    // of a value that is the beginning of the placeholder that led to it.
    std::size_t OffsetOf(std::size_t index) const { return origins_[index].offset; }
    // Returns the variables that led to the character of the result at `index`, for messages, the
    // outermost first. There are none if the character stands in the text itself.
    std::vector<std::string> Through(std::size_t index) const;

private:
    // One replacement. Step 0 stands for the text.
    struct Step {
        const Tova::WideVar* var;
        std::uint32_t cause;  // the step whose value led to it
        std::uint32_t depth;
        std::uint32_t offset;  // in the text, of the placeholder that led to it
    };
    struct Origin {
        std::uint32_t step;
        std::uint32_t offset;
    };

    // Does nothing if the causes of `step` hold no variable twice.
    void RefuseCircle(std::uint32_t step) const;
    [[noreturn]] void RefuseSize(const std::string& what) const;

    const std::u16string_view text_;
    const std::size_t variableCount_;
    const std::string name_;
    std::vector<Step> steps_;
    std::vector<Origin> origins_;  // of each character of the result
    std::vector<Origin> before_;   // of each character of the text before the pass
    std::size_t work_ = 0;
};

}  // namespace tvtool
