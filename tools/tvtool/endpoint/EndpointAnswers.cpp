// The endpoint's answers: to registrations, as the chosen fault has it, and to its own page.
#include "tvtool/base/Escapes.h"
#include "tvtool/endpoint/Endpoint.h"
#include "tvtool/endpoint/Responses.h"

#include <sys/socket.h>

#include <algorithm>
#include <ctime>
#include <new>

namespace tvtool {

namespace {

constexpr std::string_view cCutBody = "cut off";
constexpr std::size_t cAnnounced = 100;  // bytes, of which cCutBody comes
constexpr std::string_view cNoRegistration =
    "No registration: that is a GET whose address has a query.\n";

ssize_t readCutBody(void*, std::uint64_t position, char* bytes, std::size_t size) {
    return position == 0 ? static_cast<ssize_t>(cCutBody.copy(bytes, size))
                         : MHD_CONTENT_READER_END_WITH_ERROR;
}

// Has the peer see a reset (RST).
void resetConnection(int socket) {
    const sockaddr nobody{};
    static_cast<void>(connect(socket, &nobody, sizeof nobody));
}

std::string headerOf(MHD_Connection* connection, const char* name) {
    const char* value = MHD_lookup_connection_value(connection, MHD_HEADER_KIND, name);
    return value != nullptr ? value : "";
}

std::optional<std::string> findUserAgent(MHD_Connection* connection) {
    constexpr char cName[] = "User-Agent";
    if (MHD_lookup_connection_value(connection, MHD_HEADER_KIND, cName) == nullptr) {
        return std::nullopt;
    }
    const std::string text = headerOf(connection, cName);
    const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
    return text.substr(begin, text.find_last_not_of(" \t") + 1 - begin);
}

MHD_Result addLine(void* lines, MHD_ValueKind /*kind*/, const char* name, const char* value) {
    try {
        *static_cast<std::string*>(lines) +=
            "\n" + Escape(name) + ": " + Escape(value != nullptr ? value : "");
        return MHD_YES;
    } catch (const std::bad_alloc&) {
        return MHD_NO;
    }
}

}  // namespace

MHD_Result Endpoint::Take(Peer& peer) {
    if (const std::optional<MHD_Result> result = AnswerPage(peer)) {
        return *result;
    }
    const std::size_t mark = peer.target.find('?');
    const bool isRegistration = peer.method == "GET" && mark != peer.target.npos;
    if (!isRegistration) {
        Refuse(peer, peer.method == "GET" ? "its address has no query" : "only a GET registers");
    } else if (last_ != nullptr) {
        Refuse(peer, "the one registration was there before");
    } else {
        peer.isTold = true;
        Registration registration{std::time(nullptr), peer.target.substr(0, mark),
                                  peer.target.substr(mark + 1), findUserAgent(peer.connection),
                                  "GET " + Escape(peer.target) + " " + peer.version};
        MHD_get_connection_values(peer.connection, MHD_HEADER_KIND, addLine, &registration.head);
        events_.onRegistration(registration);
        pageEvents_.Add(registration);
        WakePages();
        last_ = options_.once ? &peer : nullptr;
    }
    peer.due = Clock::now() + cPatience;
    return Answer(peer, isRegistration);
}

MHD_Result Endpoint::Answer(Peer& peer, bool isRegistration) const {
    unsigned status = 200;
    Response response;
    switch (options_.fault.kind) {
    case Fault::Kind::Stall:
        Hold(peer, Clock::time_point::max());
        return MHD_YES;
    case Fault::Kind::Slow:
        Hold(peer, Clock::now());
        return MHD_YES;
    case Fault::Kind::Reset:
        resetConnection(peer.socket);
        return MHD_NO;
    case Fault::Kind::Truncate:
        response.reset(MHD_create_response_from_callback(cAnnounced, cAnnounced, readCutBody,
                                                         nullptr, nullptr));
        break;
    case Fault::Kind::RedirectLoop:
        // The address has the host, since "//host" alone would lead elsewhere. One connection may
        // take the whole loop, so that it ends with it.
        return QueueResponse(
            peer.connection, 302, MakeResponse(""),
            {{"Location", (peer.target.starts_with("/") ? address_ : "") + peer.target}});
    case Fault::Kind::Status:
        status = options_.fault.status;
        response = MakeResponse("");
        break;
    case Fault::Kind::None:
        status = isRegistration ? 200 : 404;
        response = MakeResponse(isRegistration ? "" : cNoRegistration);
        break;
    }
    return QueueResponse(peer.connection, status, response, cClose);
}

// A page from elsewhere can reach the loopback address by a name of its own, which the header Host
// then has, or send a request of its own, in which its browser says so.
bool Endpoint::IsOwnPage(const Peer& peer, bool isNavigation) const {
    const std::size_t name = address_.find("127.");
    const std::string port = address_.substr(address_.rfind(':'));
    const std::string host = headerOf(peer.connection, "Host");
    const std::string origin = headerOf(peer.connection, "Origin");
    const std::string site = headerOf(peer.connection, "Sec-Fetch-Site");
    const std::string shown = host.find(':') == host.npos ? host + port : host;
    return (shown == address_.substr(name) || shown == "localhost" + port) &&
           (origin.empty() ? peer.method == "GET" : origin == address_.substr(0, name) + host) &&
           (isNavigation || site.empty() || site == "same-origin");
}

std::optional<MHD_Result> Endpoint::AnswerPage(Peer& peer) {
    const bool isGet = peer.method == "GET";
    const std::string accepted = isGet ? headerOf(peer.connection, "Accept") : "";
    const std::string fault = peer.method == "POST" ? headerOf(peer.connection, "Fault") : "";
    const bool isEvents = accepted == "text/event-stream";
    const bool isPage = accepted.find("text/html") != accepted.npos;
    if (peer.target != "/" || (!isEvents && !isPage && fault.empty())) {
        return std::nullopt;
    }
    peer.due = Clock::now() + cPatience;
    if (!IsOwnPage(peer, isPage)) {
        Refuse(peer, "its Host or its Origin is another site's");
        return QueueResponse(peer.connection, 403, MakeResponse(""), cClose);
    }
    peer.isTold = true;
    if (isPage) {
        return QueueResponse(peer.connection, 200, MakeResponse(page_.html),
                             {{"Content-Type", "text/html; charset=utf-8"},
                              {"Content-Security-Policy", page_.policy},
                              {"X-Content-Type-Options", "nosniff"},
                              {"Referrer-Policy", "no-referrer"},
                              {"Cross-Origin-Resource-Policy", "same-origin"},
                              {"Cache-Control", "no-store"},
                              {"Connection", "close"}});
    }
    if (!isEvents) {
        const std::optional<Fault> chosen = ParseFault(fault);
        options_.fault = chosen.value_or(options_.fault);
        WakePages(PageEvents::OfFault(options_.fault));
        return QueueResponse(peer.connection, chosen ? 204 : 400, MakeResponse(""), cClose);
    }
    if (std::count_if(peers_.begin(), peers_.end(), [](const Peer& it) { return it.isPage; }) >=
        cMaxPages) {
        return QueueResponse(peer.connection, 503, MakeResponse(""), cClose);
    }
    peer.isPage = true;
    peer.unsent = PageEvents::OfFault(options_.fault);
    return QueueResponse(peer.connection, 200,
                         Response(MHD_create_response_from_callback(MHD_SIZE_UNKNOWN, 4096,
                                                                    ReadEvents, &peer, nullptr)),
                         {{"Content-Type", "text/event-stream"},
                          {"Cross-Origin-Resource-Policy", "same-origin"},
                          {"Cache-Control", "no-store"},
                          {"Connection", "close"}});
}

ssize_t Endpoint::ReadEvents(void* peer, std::uint64_t /*position*/, char* bytes,
                             std::size_t size) {
    Peer& self = *static_cast<Peer*>(peer);
    if (self.state == Peer::State::Gone) {
        return MHD_CONTENT_READER_END_OF_STREAM;
    }
    try {
        if (self.unsent.empty()) {
            self.unsent = self.owner->pageEvents_.Next(self.nextEvent);
        }
    } catch (const std::bad_alloc&) {
        return MHD_CONTENT_READER_END_WITH_ERROR;
    }
    if (self.unsent.empty()) {
        Hold(self, Clock::time_point::max());
        return 0;
    }
    self.due = Clock::now() + cPatience;
    const std::size_t count = self.unsent.copy(bytes, size);
    self.unsent.erase(0, count);
    return static_cast<ssize_t>(count);
}

void Endpoint::WakePages(const std::string& event) {
    for (Peer& peer : peers_) {
        if (!peer.isPage) {
            continue;
        }
        peer.unsent += event;
        if (peer.state == Peer::State::Held) {
            Release(peer);
            peer.state = Peer::State::Active;
            hasResumed_ = true;
        }
    }
}

}  // namespace tvtool
