// tvtool serve: an endpoint that prints the registrations that arrive.
#include "posix/Files.h"
#include "tvtool/base/Escapes.h"
#include "tvtool/base/Tool.h"
#include "tvtool/endpoint/Endpoint.h"

#include <fcntl.h>

#include <cerrno>
#include <csignal>

namespace tvtool {

namespace {

struct ServeOptions {
    std::string port;
    std::vector<std::string> tls;
    std::string fault;
    std::string log;
    bool json = false;
    bool once = false;
};

std::string faultWords(const std::string& between) {
    std::string words;
    for (const FaultName& known : cFaultNames) {
        words += (words.empty() ? "" : between) + std::string(known.name);
    }
    return words;
}

EndpointOptions parseOptions(const ServeOptions& options) {
    EndpointOptions parsed;
    const std::optional<std::uint16_t> port =
        ParseNumber<std::uint16_t>(options.port.empty() ? "0" : options.port, 0, 65535);
    if (!port) {
        Fail(Exit::Usage, "--port " + Quote(options.port), "a port is a number from 0 to 65535");
    }
    parsed.port = *port;
    parsed.once = options.once;
    if (!options.fault.empty()) {
        const std::optional<Fault> fault = ParseFault(options.fault);
        if (!fault) {
            Fail(Exit::Usage, "--fault " + Quote(options.fault),
                 "is none of " + faultWords(", ") + "N, where N is from 200 to 599");
        }
        parsed.fault = *fault;
    }
    if (!options.tls.empty()) {
        parsed.tls = LoadServerTls(options.tls[0], options.tls[1]);
    }
    return parsed;
}

// Lets SIGINT and SIGTERM stop the endpoint as long as this object lives. A second signal ends the
// process, in case standard output takes no more bytes.
class StopOnSignals {
public:
    explicit StopOnSignals(Endpoint& endpoint) {
        sEndpoint = &endpoint;
        struct sigaction action {};
        action.sa_handler = [](int) { sEndpoint->Stop(); };
        action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
        sigaction(SIGINT, &action, &interrupt_);
        sigaction(SIGTERM, &action, &terminate_);
    }
    ~StopOnSignals() {
        sigaction(SIGINT, &interrupt_, nullptr);
        sigaction(SIGTERM, &terminate_, nullptr);
    }
    StopOnSignals(const StopOnSignals&) = delete;
    StopOnSignals& operator=(const StopOnSignals&) = delete;

private:
    static inline Endpoint* sEndpoint = nullptr;
    struct sigaction interrupt_ {};
    struct sigaction terminate_ {};
};

// A file to which records are added, or nothing.
class Log {
public:
    // Opens the file, which may be "". Other users cannot read a new one: it holds personal data.
    explicit Log(const std::string& path)
        : path_(path),
          file_(path.empty()
                    ? -1
                    : open(path.c_str(),
                           O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY,
                           0600)) {
        if (!path.empty() && !file_) {
            FailErrno(errno, path, "cannot be opened for writing");
        }
    }
    void Add(const std::string& record) const {
        const int error = file_ ? tvposix::WriteAll(file_.Get(), record) : 0;
        if (error != 0) {
            FailErrno(error, path_, "cannot be written");
        }
    }

private:
    const std::string path_;
    const tvposix::Descriptor file_;
};

void serve(const ServeOptions& options, Session& session) {
    const Log log(options.log);
    Endpoint endpoint(parseOptions(options));
    const StopOnSignals stopOnSignals(endpoint);
    Complain("listening on " + endpoint.Address());  // A browser shows its page there.
    endpoint.Run({[&](const Registration& registration) {
                      const std::string record = options.json ? RegistrationAsJson(registration)
                                                              : DescribeRegistration(registration);
                      log.Add(record);
                      session.out << record;
                      session.out.Flush();
                  },
                  [&](const Refusal& refusal) {
                      const std::string line = DescribeRefusal(refusal);
                      Complain(line);
                      log.Add(options.json ? RefusalAsJson(refusal) : line + "\n\n");
                  }});
}

}  // namespace

void AddServeCommand(CLI::App& app, Session& session) {
    const auto [command, options] =
        AddCommand<ServeOptions>(app, session, "serve", serve,
                                 "Prints the registrations that arrive, for testing an installer",
                                 "  tvtool serve --port 8080\n"
                                 "  tvtool serve --port 8080 --once --json --fault status=503");
    AddText(command, "--port", options.port,
            "Listen on this port of 127.0.0.1; any free one otherwise.\n"
            "The first line on standard error says where")
        ->type_name("N");
    AddTexts(command, "--tls", options.tls,
             "Take HTTPS only, with this certificate and its key (PEM files)")
        ->type_size(2)
        ->expected(1)
        ->type_name("CERT KEY");
    command.add_flag("--json", options.json, "One JSON object a line");
    command.add_flag("--once", options.once, "End after the first registration");
    AddText(command, "--log", options.log,
            "Add each registration and each refused request to this file")
        ->type_name("FILE");
    std::string meanings;
    for (const FaultName& known : cFaultNames) {
        meanings += "\n" + std::string(known.name) +
                    (known.kind == Fault::Kind::Status ? "N: " : ": ") + std::string(known.meaning);
    }
    OfferWords(
        *AddText(command, "--fault", options.fault, "What to do once a request is read:" + meanings)
             ->type_name("FAULT"),
        faultWords(" "));
}

}  // namespace tvtool
