// Writing a property list as XML, and what text one can hold.
#include "corefoundation/preferences/Plist.h"
#include "posix/Base64.h"

#include <algorithm>

namespace tvplatform {

namespace {

constexpr char cStart[] = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                          "<plist version=\"1.0\">\n";
constexpr char cEnd[] = "</plist>\n";

// Lines of data end here, where a tab counts as eight columns.
constexpr std::size_t cDataWidth = 76;
constexpr std::size_t cLeastDataWidth = 16;

// A deeper level is not indented further, or the text could become far longer than what was read.
constexpr std::size_t cMostTabs = 8;

class Writer {
public:
    // Recursive, at most as deep as a value that was read or made.
    void Write(const PlistNode& node) {
        switch (node.kind) {
        case PlistKind::True:
            return Line("<true/>");
        case PlistKind::False:
            return Line("<false/>");
        case PlistKind::Integer:
            return WriteText("integer", node.text);
        case PlistKind::Real:
            return WriteText("real", node.text);
        case PlistKind::Text:
            return WriteText("string", node.text);
        case PlistKind::Date:
            return WriteText("date", node.text);
        case PlistKind::Bytes:
            // Another text may need escapes, and may not be cut inside a character.
            return tvposix::DecodeBase64(node.text) ? WriteData(node.text)
                                                    : WriteText("data", node.text);
        case PlistKind::List:
            return WriteParts("array", node.parts, false);
        case PlistKind::Dict:
            return WriteParts("dict", node.parts, true);
        }
    }
    void WriteParts(const std::string& name, const std::vector<PlistEntry>& parts, bool hasKeys) {
        if (parts.empty()) {
            return Line("<" + name + "/>");
        }
        Line("<" + name + ">");
        ++indent_;
        for (const PlistEntry& part : parts) {
            if (hasKeys) {
                WriteText("key", part.key);
            }
            Write(*part.value);
        }
        --indent_;
        Line("</" + name + ">");
    }
    std::string Take() { return std::move(xml_); }

private:
    std::string& Indent() { return xml_.append(std::min(indent_, cMostTabs), '\t'); }
    void Line(std::string_view text) { Indent().append(text).push_back('\n'); }

    void WriteText(std::string_view name, std::string_view text) {
        Indent().append("<").append(name).append(">");
        for (const char c : text) {
            switch (c) {
            case '&':
                xml_ += "&amp;";
                break;
            case '<':
                xml_ += "&lt;";
                break;
            case '>':
                xml_ += "&gt;";
                break;
            case '\r':  // as it is, a reader takes it for a line end
                xml_ += "&#13;";
                break;
            default:
                xml_ += c;
            }
        }
        xml_.append("</").append(name).append(">\n");
    }

    void WriteData(std::string_view base64) {
        Line("<data>");
        const std::size_t width = cDataWidth - std::min(8 * indent_, cDataWidth - cLeastDataWidth);
        for (std::size_t at = 0; at < base64.size(); at += width) {
            Line(base64.substr(at, width));
        }
        Line("</data>");
    }

    std::string xml_ = cStart;
    // Levels.
    std::size_t indent_ = 0;
};

}  // namespace

bool IsPlistText(std::string_view text) {
    return text.find("\xEF\xBF\xBE") == text.npos && text.find("\xEF\xBF\xBF") == text.npos &&
           std::all_of(text.begin(), text.end(), [](char c) {
               return static_cast<unsigned char>(c) >= 0x20 || c == '\t' || c == '\n' || c == '\r';
           });
}

std::string WritePlist(const std::vector<PlistEntry>& entries) {
    Writer writer;
    writer.WriteParts("dict", entries, true);
    return writer.Take() + cEnd;
}

}  // namespace tvplatform
