// A line of input that is edited as in a shell: Tab completes the names of files.
//
// The library behind it has one state for the whole process, so there is one editor at a time, and
// its calls are made by one thread at a time.
#pragma once

#include <optional>
#include <string>

namespace platform {

// Prepares the library. Once, before other threads look at letters: it makes UTF-8 the process's
// characters, whatever its environment says, as all that is printed is in it.
void PreparePathEditor();

// Prints the prompt and takes the terminal over: keys come one by one, without its own echo. Does
// nothing while a line is being edited.
void OpenPathEditor();

// Whether a line is being edited.
bool IsPathEditorOpen();

// Reads what waits on standard input. A line that it ends is given, with the editor closed; Ctrl-D
// on an empty one, and the end of the terminal, give the word for Escape.
std::optional<std::string> ReadIntoPathEditor();

// Gives the terminal back as it was. Does nothing where no line is being edited.
void ClosePathEditor();

} // namespace platform
