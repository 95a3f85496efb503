// Whether the output of this run is coloured. One thread.
#pragma once

namespace tvtool {

// Auto colours on a terminal only, and neither with NO_COLOR nor with TERM=dumb.
enum class Colour { Auto, Always, Never };
void ChooseColour(Colour colour);
Colour ChosenColour();

}  // namespace tvtool
