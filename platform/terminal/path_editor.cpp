// The distribution's line editor, fed key by key, so that no thread waits in it.

#include "platform/terminal/path_editor.h"

#include "platform/terminal/choices.h"

#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include <readline/readline.h>

namespace platform {

namespace {

constexpr char Prompt[] = "> ";

bool isOpen = false;
std::optional<std::string> finished; // the line that the last key has ended

// A name may be followed by nothing: a blank would become part of it.
char** CompleteFileName(const char* text, int, int) {
    rl_completion_append_character = '\0';
    return rl_completion_matches(text, rl_filename_completion_function);
}

void FinishLine(char* line) {
    finished = line ? line : EscapeWord;
    if (!line)
        std::fputc('\n', rl_outstream); // the key has left the cursor behind the prompt
    std::free(line);
    isOpen = false;
    rl_callback_handler_remove();
}

} // namespace

void PreparePathEditor() {
    std::setlocale(LC_CTYPE, "C.UTF-8");
    rl_catch_signals = 0; // they are served by a thread of their own
    rl_catch_sigwinch = 0;
    rl_change_environment = 0;
    rl_attempted_completion_function = CompleteFileName;
    static char nothing[] = "";
    rl_completer_word_break_characters = nothing; // blanks are part of a name
    rl_completion_query_items = 0;                // never asks, which would wait
    rl_variable_bind("page-completions", "off");
    rl_variable_bind("completion-ignore-case", "on");
    rl_variable_bind("enable-bracketed-paste", "off");
}

void OpenPathEditor() {
    if (isOpen)
        return;
    std::fflush(stdout);
    rl_callback_handler_install(Prompt, FinishLine);
    isOpen = true;
}

bool IsPathEditorOpen() { return isOpen; }

std::optional<std::string> ReadIntoPathEditor() {
    finished.reset();
    rl_reset_screen_size(); // the window may have been resized
    rl_callback_read_char();
    return std::exchange(finished, std::nullopt);
}

void ClosePathEditor() {
    if (!isOpen)
        return;
    isOpen = false;
    rl_callback_handler_remove();
    std::fputc('\n', rl_outstream);
    std::fflush(rl_outstream);
}

} // namespace platform
