// Fetches addresses with a web reader and prints a line for each: URL, what came, status, bytes.
//   tvtest_fetch USER-AGENT URL...
#include "tests/mac/ReaderSession.h"

#include <iostream>

int main(int argc, char** argv) {
    for (int i = 2; i < argc; ++i) {
        tvtest::ReaderSession session;
        const std::string events = session.Fetch(argv[i], argv[1]);
        std::cout << argv[i] << ": " << events << ", status " << session.Last().status << ", "
                  << session.Last().body.size() << " bytes\n";
    }
    return argc > 2 ? 0 : 2;
}
