#include "tvtool/base/Colour.h"

namespace tvtool {

namespace {

Colour sColour = Colour::Auto;

}  // namespace

void ChooseColour(Colour colour) {
    sColour = colour;
}

Colour ChosenColour() {
    return sColour;
}

}  // namespace tvtool
