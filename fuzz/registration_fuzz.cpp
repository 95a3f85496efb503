// Takes the input apart as a registration's query, shows it in both forms, and makes queries of
// lists and reads them back.
#include "fuzz/FuzzTarget.h"
#include "posix/Base64.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/QueryDecoding.h"
#include "tvtool/endpoint/Registration.h"
#include "vars/CVarList.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using tvfuzz::Require;

// A registration is shorter, and a second has a third fewer inputs of up to 4,096 bytes.
constexpr std::size_t cLongest = 1024;

std::string escapeAll(const std::string& bytes) {
    std::string text;
    for (const char c : bytes) {
        char escape[4];
        std::snprintf(escape, sizeof escape, "%%%02x", static_cast<unsigned char>(c));
        text += escape;
    }
    return text;
}

void checkQuery(const std::string& query) {
    const auto fields = tvtool::DecodeQuery(query);
    std::string again;
    for (const tvtool::QueryField& field : fields) {
        again += "&" + escapeAll(field.name) + (field.hasValue ? "=" : "") + escapeAll(field.value);
        Require(!field.isMalformed || query.find('%') != query.npos, "only escapes are malformed");
    }
    const auto same = [](const tvtool::QueryField& a, const tvtool::QueryField& b) {
        return a.name == b.name && a.value == b.value && a.hasValue == b.hasValue;
    };
    const auto back = tvtool::DecodeQuery(again);
    // A field without a name and a value is nothing once it is escaped.
    Require(std::equal(fields.begin(), fields.end(), back.begin(), back.end(), same),
            "an escaped query is the same");
}

// Names and values of ASCII come through a query that the framework makes.
void checkList(const std::string& text) {
    Tova::CVarList list;
    tvfuzz::Input input(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    while (!input.IsEmpty()) {
        const std::string name = tvfuzz::UpToNul(input.Until('=')), value = input.Until('&');
        list.SetValue(("%" + name).c_str(), value.c_str(), false);
    }
    Tova::CString query;
    list.GetValues(query);
    const auto fields = tvtool::DecodeQuery(query.CStr());
    auto field = fields.begin();
    for (const Tova::CVar* var = list.First(); var != nullptr; var = var->Next(), ++field) {
        Require(field != fields.end() && field->name == var->Name() && field->value == var->Value(),
                "a query brings the list");
    }
    Require(field == fields.end(), "and nothing else");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    tvfuzz::Input input(data, std::min(size, cLongest));
    tvtool::Registration registration;
    registration.path = input.Until('?');
    registration.query = input.Until('\n');
    if (!input.IsEmpty()) {
        registration.userAgent = input.Rest();
    }
    checkQuery(registration.query);
    std::string ascii = registration.query;
    std::erase_if(ascii, [](char c) { return static_cast<signed char>(c) < 0; });
    checkList(ascii);

    const tvtool::Json json = tvtool::Json::parse(tvtool::RegistrationAsJson(registration));
    const tvtool::Json& path = json["path"];
    Require((path.is_string()
                 ? path.get<std::string>()
                 : *tvposix::DecodeBase64(path["base64"].get<std::string>())) == registration.path,
            "JSON holds the path");
    for (const char c : tvtool::DescribeRegistration(registration)) {
        Require(c == '\n' || (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F),
                "people see no control characters");
    }
    return 0;
}
