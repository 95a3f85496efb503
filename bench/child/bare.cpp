// The least that a C++ program does. With an argument it prints its largest resident size.
#include "bench/child/ResidentSize.h"

#include <string>

int main(int argc, char**) {
    std::string text("Welcome to <AppName>");
    text.append(" and to this computer");
    if (argc > 1) {
        printResidentSize();
    }
    return text.size() > 20 ? 0 : 1;
}
