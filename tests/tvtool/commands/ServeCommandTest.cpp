#include "tests/tvtool/ToolRunner.h"

#include <gmock/gmock.h>

#include <regex.h>

namespace tvtest {
namespace {

// Begins each script. "start" runs the endpoint in the background, "line" takes a line that it
// prints, "rest" waits for its end and takes the others, and "end" ends it by a signal. "send"
// registers, and "ask FILE" sends a request and shows the status line of the answer. The signal
// goes to the tool itself: timeout(1) loses one that comes before it has noted its child.
constexpr char cFunctions[] = R"(
start() {
    rm -f lines; mkfifo lines
    eval "exec $TVTOOL serve $*" >lines 2>&1 &
    server=$!; exec 8<lines
    read -r _ _ _ address <&8
    tool=; read -r tool </proc/$server/task/$server/children; : "${tool:?}"
}
line() { read -r text <&8; printf '%s\n' "$text"; }
rest() { wait $server || echo "[$?]"; cat <&8; }
end() { kill -${1:-TERM} $tool; rest; }
send() { details write a.nwc --send --to $address/v/prod_reg "$@"; }
connect() { timeout 60 bash -c 'peer=/dev/tcp/127.0.0.1/'"${address##*:}; exec 3<>\$peer; $1"; }
ask() { connect "cat $1 >&3; cat <&3" | head -n 1 | tr -d '\r'; }
config create a.nwc --force RegFirstName=Ada
)";

std::string replaced(std::string text, const char* pattern, const std::string& by) {
    regex_t expression;
    EXPECT_EQ(regcomp(&expression, pattern, REG_EXTENDED), 0);
    regmatch_t match;
    for (std::size_t from = 0; regexec(&expression, text.c_str() + from, 1, &match, 0) == 0;) {
        from += static_cast<std::size_t>(match.rm_so);
        text.replace(from, static_cast<std::size_t>(match.rm_eo - match.rm_so), by);
        from += by.size();
    }
    regfree(&expression);
    return text;
}

class ServeCommandTest : public ToolTest {
protected:
    // Returns what the script prints, with "HERE" for the endpoint's port, and "NOW" for a time.
    std::string Serve(const std::string& script) {
        const std::string printed = Script(cFunctions + script);
        return replaced(replaced(printed, "127\\.0\\.0\\.1:[0-9]+", "HERE"),
                        "[0-9-]{10}[ T][0-9:]{8}(  |Z)", "NOW ");
    }
    static std::string Failed(const std::string& what) {
        return Fails(6, "http://HERE: " + what + "; the details are saved");
    }
};

constexpr char cSent[] = "sent to http://HERE: HTTP 200, 0 bytes\n";

TEST_F(ServeCommandTest, PrintsWhatArrivesForPeople) {
    Write("request",
          "GET /\x1B[2J?%1b=\x9B%0d%0A&RegOrg=a%&x&RegOrg=%4&&RegOrg=%4g%g4&RegEmail= HTTP/1.1"
          "\r\nuser-agent: \t a\x1B]b \r\n\r\n");
    EXPECT_EQ(
        Serve("start; send --organisation 'Engines 100%' --email ada@x.org; ask request; end"),
        cSent + std::string("HTTP/1.1 200 OK\n") +
            "NOW GET /v/prod_reg\n  User-Agent:    Calyx Registration\n"
            "  First name:    Ada\n  Last name:     \n  Organisation:  Engines 100%\n"
            "  E-mail:        ada@x.org\n\n"
            "NOW GET /\\x1B[2J\n  User-Agent:    a\\x1B]b\n  Unknown \"\\x1B\": \\x9B\\r\\n\n"
            "  Organisation:  a%  (holds a malformed escape)\n"
            "  Unknown \"x\":   (no value)\n"
            "  Organisation:  %4  (holds a malformed escape)\n"
            "  Organisation:  %4g%g4  (holds a malformed escape)\n  E-mail:        \n"
            "  First name:    (missing)\n  Last name:     (missing)\n\n");
}

TEST_F(ServeCommandTest, PrintsOneJsonObjectALine) {
    Write("one", "GET /p?b=1+2&a=%C3%A9&b=&c&b=%00 HTTP/1.1\r\nUser-Agent: x%41\r\n\r\n");
    Write("two", "GET ?\xFF=%ff HTTP/1.0\r\nUser-Agents: x\r\n\r\n");
    EXPECT_EQ(
        Serve("start --json; ask one; line; ask two; line; end INT"),
        "HTTP/1.1 200 OK\n"
        R"({"time":"NOW ","path":"/p","query":"b=1+2&a=%C3%A9&b=&c&b=%00","userAgent":"x%41",)"
        R"("fields":{"b":["1 2","","\u0000"],"a":"é","c":null}})"
        "\nHTTP/1.1 200 OK\n"
        R"({"time":"NOW ","path":"","query":{"base64":"/z0lZmY="},"userAgent":null,)"
        R"("fields":{"\\xFF":{"base64":"/w=="}}})"
        "\n");
}

TEST_F(ServeCommandTest, EndsAfterTheFirstRegistrationWithOnce) {
    Write("post", "POST /p?a=1 HTTP/1.1\r\nContent-Length: 3\r\n\r\nabc");
    Write("plain", "GET /p HTTP/1.1\r\n\r\n");
    EXPECT_EQ(
        Serve("start --once; ask post; ask plain; line; line; send; rest >r; head -n 1 r; send"),
        "HTTP/1.1 404 Not Found\nHTTP/1.1 404 Not Found\n"
        "tvtool: NOW refused POST /p?a=1: only a GET registers\n"
        "tvtool: NOW refused GET /p: its address has no query\n" +
            std::string(cSent) + "NOW GET /v/prod_reg\n" +
            Failed("the connection was refused: nothing listens there"));
}

TEST_F(ServeCommandTest, MisbehavesAsItIsTold) {
    const std::string unfinished =
        "no complete answer came within 1 s, so it is not known whether the details arrived";
    const std::string closed = "the server closed the connection before the answer was complete";
    const std::pair<std::string, std::string> faults[] = {
        {"stall", unfinished},
        {"slow", unfinished},
        {"reset", closed},
        {"truncate", "HTTP 200, but " + closed},
        {"redirect-loop", "there were too many redirects"},
        {"status=599", "HTTP 599: the registration was not accepted"},
    };
    for (const auto& [fault, what] : faults) {
        EXPECT_EQ(Serve("start --json --once --fault " + fault + "; send --last-name " + fault +
                        (what == unfinished ? " --wait 1" : "") +
                        "; rest >r; grep -o 'Reg[^\"]*\":\"" + fault +
                        "\"' r; config get a.nwc RegLastName"),
                  Failed(what) + "RegLastName\":\"" + fault + "\"\n" + fault + "\n");
    }
    // It ends at once, also while a client waits.
    EXPECT_EQ(Serve("start --fault stall; send & line >l; end >r; wait"), Failed(closed));
}

TEST_F(ServeCommandTest, BoundsWhatAClientCanDo) {
    const std::string start = "GET /?a HTTP/1.1\r\nX: ";
    const std::string end = "\r\n\r\n";
    const std::string longest(8192 - start.size() - end.size(), 'x');
    Write("1", std::string(40000, 'a'));
    Write("2", start + longest + "x" + end);
    Write("3", start + longest + end);
    Write("4", "GET  HTTP/1.1\r\n\r\n");
    Write("5", "\x16\x03\x01 \r\n\r\n");
    Write("6", std::string("GET /?a=\0b HTTP/1.1\r\n\r\n", 23));
    Write("7", "GET /?a= b HTTP/1.1\r\n\r\n");
    Write("8", "GET /?a");
    // Some releases of the HTTP library close a connection whose answer is not read yet, so only a
    // good answer is shown; some refuse a NUL by themselves. In the end come more clients than it
    // serves at a time; it ends all the same, and at once.
    const std::string refused = "tvtool: NOW refused ";
    const std::string tooLong = ": its first line and header are longer than 8192 bytes\n";
    const std::string isInvalid = "a request: it is no valid HTTP request\n";
    const std::string isCut = ": its address holds a space or a NUL\n";
    EXPECT_EQ(
        Serve(
            "start --json --log log; for i in 1 2 3 4 5 6 7; do ask $i | grep 200\n"
            "line | sed -E 's/,.*//; s/GET [^ ]*=(:.*) a space or a NUL/a request: it is no valid "
            "HTTP request/'; done; connect 'cat 8 >&3'; line; grep -c refused log\n"
            "stat -c %a log; serve --log no/log 2>&1\n"
            "connect 'for i in {1..30}; do printf \"GET /?a=1\" >&3\n"
            "exec {fd}>&3 3<>$peer; done; kill -INT '$tool'; cat <&3 2>&1' >l; rest >l"),
        refused + "a request" + tooLong + refused + "GET /?a" + tooLong +
            "HTTP/1.1 200 OK\n{\"time\":\"NOW \"\n" + refused + isInvalid + refused + isInvalid +
            refused + isInvalid + refused + "GET /?a= b" + isCut + refused +
            "a request: the client closed the connection before the request was complete\n" +
            "7\n600\ntvtool: no/log: cannot be opened for writing: No such file or directory\n"
            "[3]\n");
}

TEST_F(ServeCommandTest, ShowsAPageToItsOwnBrowserOnly) {
    // "get LINES" sends a request with these further lines; "event" shows what the page gets next.
    const std::string functions =
        "get() { printf \"${2:-GET} / HTTP/1.1\\r\\n$1\\r\\n\\r\\n\" >r; ask r; }\n"
        "event() { while read -r text <&7; do case $text in data*) break; esac; done\n"
        "printf '%s' \"$text\" | grep -oE \"$1\" || echo \"$text\"; }\n"
        "start 2>/dev/null; host=${address#http://}; mkfifo events\n";
    EXPECT_EQ(Serve(functions +
                    "for line in '' 'Accept: */*' 'Accept: text/html'; do get \"$line\"; done\n"
                    "get \"Accept: a,text/html\\r\\nHost: $host\"; get \"Accept: "
                    "text/html\\r\\nHost: x.org:${host#*:}\"\n"
                    "page=\"Accept: text/event-stream\\r\\nHost: localhost:${host#*:}\"\n"
                    "get \"$page\\r\\nOrigin: http://x.org\"\n"
                    "get \"$page\\r\\nSec-Fetch-Site: cross-site\"\n"
                    "get \"Fault: stall\\r\\nHost: $host\" POST\n"
                    "printf \"GET / HTTP/1.1\\r\\n$page\\r\\n\\r\\n\" >page\n"
                    "connect 'cat page >&3; cat <&3' >events & exec 7<events\n"
                    "event '\"fault\":\"[^\"]*'; for i in 1 2 3 4 5 6 7; do event kind; done\n"
                    "send --first-name '</script>\"'; event '.\"First name.{17}'\n"
                    "own=\"Host: $host\\r\\nOrigin: $address\"\n"
                    "get \"Fault: x\\r\\n$own\" POST; get \"Fault: status=500\\r\\n$own\" POST\n"
                    "event '\"fault\":\"n[^\"]*'; event '\"fault\":\"[^\"]*'; send; event kind\n"
                    "end >r; grep -c refused r"),
              "HTTP/1.1 404 Not Found\nHTTP/1.1 404 Not Found\nHTTP/1.1 403 Forbidden\n"
              "HTTP/1.1 200 OK\nHTTP/1.1 403 Forbidden\nHTTP/1.1 403 Forbidden\n"
              "HTTP/1.1 403 Forbidden\nHTTP/1.1 403 Forbidden\n\"fault\":\"none\n"
              "kind\nkind\nkind\nkind\nkind\nkind\nkind\n" +
                  std::string(cSent) +
                  "[\"First name\",\"</script>\\\"\"],\nHTTP/1.1 400 Bad Request\n"
                  "HTTP/1.1 204 No Content\n\"fault\":\"none\n\"fault\":\"status=500\n" +
                  Failed("HTTP 500: the registration was not accepted") + "kind\n7\n");
}

TEST_F(ServeCommandTest, ServesHttps) {
    Script("for name in a b; do n=$((n + 1)); openssl req -x509 -newkey ec -pkeyopt "
           "ec_paramgen_curve:P-256 -nodes -days 2 -subj /CN=test -addext "
           "subjectAltName=IP:127.0.0.$n -keyout $name.key -out $name.pem; done");
    Write("plain", "GET /?a HTTP/1.1\r\n\r\n");
    EXPECT_EQ(
        Serve("start --json --tls a.pem a.key; send\n"
              "export SSL_CERT_FILE=$PWD/a.pem; send; line | cut -d ';' -f 1; line >l; ask "
              "plain; end; start --tls b.pem b.key; export SSL_CERT_FILE=$PWD/b.pem; send; end >l"),
        Fails(6, "https://HERE: the certificate is not trusted; SSL_CERT_FILE can name one to "
                 "trust; the details are saved") +
            "sent to https://HERE: HTTP 200, 0 bytes\n"
            "tvtool: NOW refused a request: the TLS handshake failed\n"
            "tvtool: NOW refused a request: it is plain HTTP, or no TLS at least, and this "
            "port takes HTTPS only\n" +
            Fails(6, "https://HERE: the certificate is another host's; the details are saved"));
    EXPECT_EQ(Serve("serve --tls none.pem a.key; serve --tls a.key a.key\n"
                    "serve --tls a.pem a.nwc; serve --tls a.pem b.key"),
              Fails(3, "none.pem: cannot be read: No such file or directory") +
                  Fails(4, "a.key: holds no certificate (PEM)") +
                  Fails(4, "a.nwc: holds no private key without a pass phrase (PEM)") +
                  Fails(4, "b.key: is not the key of a.pem"));
}

TEST_F(ServeCommandTest, RefusesWhatItCannotServe) {
    for (const std::string words :
         {"--fault bogus", "--fault status=", "--fault status=199", "--fault status=600",
          "--port=-1", "--port=65536", "--port=80x", "--port=' 80'", "--tls a.pem"}) {
        EXPECT_EQ(Script("serve " + words + " 2>e"), "[2]\n") << words;
    }
    // The port is free again at once, although a connection may linger.
    EXPECT_EQ(Serve("start; port=${address##*:}; send; serve --port $port 2>e; sed s/$port/N/ e\n"
                    "end >r; start --port $port; end; echo $address"),
              cSent + std::string("[1]\ntvtool: port N: is in use; give another one, or none for a "
                                  "free one\nhttp://HERE\n"));
}

}  // namespace
}  // namespace tvtest
