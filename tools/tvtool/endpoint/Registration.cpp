#include "tvtool/endpoint/Registration.h"

#include "tvtool/base/DetailFields.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Json.h"
#include "tvtool/base/QueryDecoding.h"

#include <algorithm>

namespace tvtool {

namespace {

// Returns 19 characters, in the time zone of `split` (localtime_r or gmtime_r).
std::string formatTime(std::time_t time, std::tm* (*split)(const std::time_t*, std::tm*)) {
    std::tm parts{};
    char text[32] = "0000-00-00 00:00:00";
    if (split(&time, &parts) != nullptr) {
        std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    }
    return text;
}
std::string timeForMachines(std::time_t time) {
    return formatTime(time, gmtime_r).replace(10, 1, "T") + "Z";
}

std::pair<std::string, std::string> describeField(const QueryField& field) {
    const auto* known =
        std::find_if(cDetailFields.begin(), cDetailFields.end(),
                     [&](const DetailField& detail) { return detail.variable == field.name; });
    const std::string label = known != cDetailFields.end()
                                  ? known->label
                                  : "Unknown \"" + Escape(field.name, "\"") + "\"";
    std::string text = field.hasValue ? Escape(field.value) : "(no value)";
    if (field.isMalformed) {
        text += "  (holds a malformed escape)";
    }
    return {label, text};
}

// On the wire texts are UTF-8 whatever the system encoding is.
Json wireText(const std::string& bytes) {
    return JsonText(bytes, kCFStringEncodingUTF8);
}

}  // namespace

std::string TimeForPeople(std::time_t time) {
    return formatTime(time, localtime_r);
}

std::vector<std::pair<std::string, std::string>> DescribeFields(const Registration& registration) {
    std::vector<std::pair<std::string, std::string>> lines = {
        {"User-Agent", registration.userAgent ? Escape(*registration.userAgent) : "(none)"}};
    const std::vector<QueryField> fields = DecodeQuery(registration.query);
    for (const QueryField& field : fields) {
        lines.push_back(describeField(field));
    }
    for (const DetailField& detail : cDetailFields) {
        const bool isThere =
            std::any_of(fields.begin(), fields.end(),
                        [&](const QueryField& field) { return field.name == detail.variable; });
        if (!isThere) {
            lines.emplace_back(detail.label, "(missing)");
        }
    }
    return lines;
}

std::string DescribeRegistration(const Registration& registration) {
    std::string text =
        TimeForPeople(registration.time) + "  GET " + Escape(registration.path) + "\n";
    for (const auto& [label, value] : DescribeFields(registration)) {
        text += "  " + LabelledLine(label, value);
    }
    return text + "\n";
}

std::string RegistrationAsJson(const Registration& registration) {
    Json fields = Json::object();
    for (const QueryField& field : DecodeQuery(registration.query)) {
        const Json decoded = wireText(field.name);
        const std::string name = decoded.is_string() ? field.name : Escape(field.name);
        const Json value = field.hasValue ? wireText(field.value) : Json();
        if (!fields.contains(name)) {
            fields[name] = value;
        } else if (fields[name].is_array()) {
            fields[name].push_back(value);
        } else {
            fields[name] = Json::array({fields[name], value});
        }
    }
    Json object = Json::object();
    object["time"] = timeForMachines(registration.time);
    object["path"] = wireText(registration.path);
    object["query"] = wireText(registration.query);
    object["userAgent"] = registration.userAgent ? wireText(*registration.userAgent) : Json();
    object["fields"] = std::move(fields);
    return object.dump() + "\n";
}

std::string DescribeRefusal(const Refusal& refusal) {
    return TimeForPeople(refusal.time) + "  refused " +
           (refusal.request.empty() ? "a request" : Escape(refusal.request)) + ": " +
           refusal.reason;
}

std::string RefusalAsJson(const Refusal& refusal) {
    const Json object = {{"time", timeForMachines(refusal.time)},
                         {"request", wireText(refusal.request)},
                         {"refused", refusal.reason}};
    return object.dump() + "\n";
}

}  // namespace tvtool
