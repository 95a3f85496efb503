// Lets a person change a text in an editor. One thread.
#pragma once

#include <functional>
#include <string>

namespace tvtool {

// Opens a copy of `text` in the editor that EDITOR names, vi by default, and gives the changed text
// and the name of the copy to `take`. If that throws a ToolError (Damaged), complains and, on a
// terminal, offers to edit again. The copy is removed at the end; it stays, and the message names
// it, if the changes could not be taken.
void EditText(const std::string& text,
              const std::function<void(const std::string& changed, const std::string& name)>& take);

}  // namespace tvtool
