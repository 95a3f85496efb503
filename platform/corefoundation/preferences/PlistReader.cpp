// Reading a property list from XML. The parser tells the elements one by one, and a stack of our
// own keeps those that are open, so that nothing here recurses.
#include "corefoundation/preferences/Plist.h"

#include <algorithm>
#include <exception>
#include <expat.h>
#include <iterator>
#include <limits>
#include <new>
#include <utility>

namespace tvplatform {

namespace {

struct Element {
    std::string_view name;
    PlistKind kind;
};

constexpr Element cElements[] = {
    {"true", PlistKind::True}, {"false", PlistKind::False}, {"integer", PlistKind::Integer},
    {"real", PlistKind::Real}, {"string", PlistKind::Text}, {"data", PlistKind::Bytes},
    {"date", PlistKind::Date}, {"array", PlistKind::List},  {"dict", PlistKind::Dict},
};

bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

// Takes away the white space that a document may put around a number or a date, or anywhere in
// data.
void removeBlanks(PlistKind kind, std::string& text) {
    if (kind == PlistKind::Bytes) {
        text.erase(std::remove_if(text.begin(), text.end(), isBlank), text.end());
    } else if (kind != PlistKind::Text) {
        text.erase(std::find_if_not(text.rbegin(), text.rend(), isBlank).base(), text.end());
        text.erase(text.begin(), std::find_if_not(text.begin(), text.end(), isBlank));
    }
}

class Reader {
public:
    std::optional<PlistDict> Read(std::string_view xml) {
        if (xml.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
            return std::nullopt;
        }
        parser_.reset(XML_ParserCreate(nullptr));
        if (parser_ == nullptr) {
            throw std::bad_alloc();
        }
        XML_SetUserData(parser_.get(), this);
        XML_SetElementHandler(parser_.get(), OnStart, OnEnd);
        XML_SetCharacterDataHandler(parser_.get(), OnText);
        XML_SetStartDoctypeDeclHandler(parser_.get(), OnDoctype);
        XML_SetSkippedEntityHandler(parser_.get(), OnSkippedEntity);
        const XML_Status status =
            XML_Parse(parser_.get(), xml.data(), static_cast<int>(xml.size()), XML_TRUE);
        if (failure_) {
            std::rethrow_exception(failure_);
        }
        if (XML_GetErrorCode(parser_.get()) == XML_ERROR_NO_MEMORY) {
            throw std::bad_alloc();
        }
        return status == XML_STATUS_OK ? std::move(root_) : std::nullopt;
    }

private:
    // A value whose end is still to come.
    struct Open {
        std::shared_ptr<PlistNode> node;
        // Of a dictionary: its entries, and the key that waits for its value.
        PlistDict dict;
        std::optional<std::string> key;
    };

    // Runs `work` for one event. Damage stops the parser. An exception may not pass through it, and
    // is kept for Read.
    template <class Work>
    static void Handle(void* self, Work work) {
        auto& reader = *static_cast<Reader*>(self);
        bool isGood = false;
        try {
            isGood = work(reader);
        } catch (...) {
            reader.failure_ = std::current_exception();
        }
        if (!isGood) {
            XML_StopParser(reader.parser_.get(), XML_FALSE);
        }
    }
    static void OnStart(void* self, const XML_Char* name, const XML_Char**) {
        Handle(self, [name](Reader& reader) { return reader.Start(name); });
    }
    static void OnEnd(void* self, const XML_Char*) {
        Handle(self, [](Reader& reader) { return reader.End(); });
    }
    static void OnText(void* self, const XML_Char* text, int length) {
        Handle(self, [text, length](Reader& reader) {
            return reader.Text({text, static_cast<std::size_t>(length)});
        });
    }
    static void OnDoctype(void* self, const XML_Char*, const XML_Char*, const XML_Char*,
                          int hasInternalSubset) {
        Handle(self, [hasInternalSubset](Reader&) { return hasInternalSubset == 0; });
    }
    static void OnSkippedEntity(void* self, const XML_Char*, int) {
        Handle(self, [](Reader&) { return false; });
    }

    bool Start(std::string_view name) {
        if (inKey_) {
            return false;
        }
        if (name == "plist") {
            return !std::exchange(inPlist_, true) && open_.empty();
        }
        if (name == "key") {
            inKey_ =
                !open_.empty() && open_.back().node->kind == PlistKind::Dict && !open_.back().key;
            text_.clear();
            return inKey_;
        }
        const auto* element =
            std::find_if(std::begin(cElements), std::end(cElements),
                         [name](const Element& candidate) { return candidate.name == name; });
        if (element == std::end(cElements) || !CanTakeValue() || open_.size() >= cDeepestPlist) {
            return false;
        }
        open_.push_back({std::make_shared<PlistNode>(PlistNode{element->kind, {}, {}}), {}, {}});
        text_.clear();
        return true;
    }

    bool CanTakeValue() const {
        if (open_.empty()) {
            return !hasRoot_;
        }
        const Open& outer = open_.back();
        return outer.node->kind == PlistKind::List ||
               (outer.node->kind == PlistKind::Dict && outer.key);
    }

    // Everything else that stands between the tags of containers must be white space.
    bool Text(std::string_view text) {
        const bool counts =
            inKey_ || (!open_.empty() && open_.back().node->kind < PlistKind::List &&
                       open_.back().node->kind > PlistKind::False);
        if (counts) {
            text_ += text;
        }
        return counts || std::all_of(text.begin(), text.end(), isBlank);
    }

    bool End() {
        if (inKey_) {
            inKey_ = false;
            open_.back().key = std::move(text_);
            return true;
        }
        if (open_.empty()) {
            return true;  // of "plist"
        }
        Open closed = std::move(open_.back());
        open_.pop_back();
        if (closed.key) {
            return false;  // its value is missing
        }
        if (closed.node->kind < PlistKind::List) {
            removeBlanks(closed.node->kind, text_);
            closed.node->text = std::move(text_);
        }
        if (open_.empty()) {
            hasRoot_ = true;
            if (closed.node->kind == PlistKind::Dict) {
                root_ = std::move(closed.dict);
            }
            return true;
        }
        if (closed.node->kind == PlistKind::Dict) {
            closed.node->parts = std::move(closed.dict).Take();
        }
        Open& outer = open_.back();
        if (outer.key) {
            outer.dict.Set(std::move(*outer.key), std::move(closed.node));
            outer.key.reset();
        } else {
            outer.node->parts.push_back({{}, std::move(closed.node)});
        }
        return true;
    }

    struct FreeParser {
        void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
    };
    std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser> parser_;
    std::exception_ptr failure_;
    std::vector<Open> open_;
    std::string text_;
    bool hasRoot_ = false;
    std::optional<PlistDict> root_;  // if it is a dictionary
    bool inPlist_ = false;
    bool inKey_ = false;
};

}  // namespace

std::optional<PlistDict> ReadPlist(std::string_view xml) {
    return Reader().Read(xml);
}

}  // namespace tvplatform
