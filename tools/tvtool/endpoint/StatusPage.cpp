#include "tvtool/endpoint/StatusPage.h"

#include "posix/Base64.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Json.h"

#include <gnutls/crypto.h>

#include <algorithm>
#include <new>

namespace tvtool {

namespace {

constexpr char cPage[] =
#include "page.inc"
    ;

std::string event(const char* kind, Json object) {
    object["kind"] = kind;
    return "data: " + object.dump() + "\n\n";
}

}  // namespace

PageText MakePage() {
    std::string random(16, '\0');
    if (gnutls_rnd(GNUTLS_RND_NONCE, random.data(), random.size()) != 0) {
        throw std::bad_alloc();
    }
    const std::string nonce = tvposix::EncodeBase64(random);
    PageText page{cPage, "default-src 'none'; connect-src 'self'; img-src data:; base-uri 'none'; "
                         "form-action 'none'; frame-ancestors 'none'; script-src 'nonce-" +
                             nonce + "'; style-src 'nonce-" + nonce + "'"};
    const std::string mark = "NONCE";
    for (std::size_t at = 0; (at = page.html.find(mark, at)) != page.html.npos;) {
        page.html.replace(at, mark.size(), nonce);
        at += nonce.size();
    }
    return page;
}

void PageEvents::Add(const Registration& registration) {
    Json fields = Json::array();
    for (const auto& [label, text] : DescribeFields(registration)) {
        fields.push_back({label, text});
    }
    Append(event("registration", {{"time", TimeForPeople(registration.time)},
                                  {"title", "GET " + Escape(registration.path)},
                                  {"fields", fields},
                                  {"request", registration.head}}));
}

void PageEvents::Add(const Refusal& refusal) {
    Append(event("refusal", {{"time", TimeForPeople(refusal.time)},
                             {"title", Escape(refusal.request)},
                             {"reason", refusal.reason}}));
}

std::string PageEvents::OfFault(const Fault& fault) {
    Json names = Json::array();
    for (const FaultName& known : cFaultNames) {
        names.push_back({known.name, known.meaning});
    }
    return event("fault", {{"fault", FaultText(fault)}, {"names", names}});
}

void PageEvents::Append(std::string text) {
    events_.push_back(std::move(text));
    if (events_.size() > cMost) {
        events_.pop_front();
        ++first_;
    }
}

std::string PageEvents::Next(std::size_t& number) const {
    const std::size_t index = std::max(number, first_) - first_;
    if (index >= events_.size()) {
        return "";
    }
    number = first_ + index + 1;
    return events_[index];
}

}  // namespace tvtool
