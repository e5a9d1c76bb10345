// The choices of a page as a person at a terminal reads and types them.
#pragma once

#include "platform/windows/display.h"

#include <optional>
#include <string>
#include <vector>

namespace platform {

struct Choice {
    const ControlView* control; // of the page that was given
    std::string label;          // UTF-8, one line, safe to print
    std::string key;            // what is typed for it: the shortest beginning that no other has
};

// All that are visible, in the order of the page. Those that are not enabled keep their keys, so
// that a key never changes what it stands for while its page is up.
std::vector<Choice> ChoicesOf(const PageView& page);

// The choices that a line of input may mean: by the id of a control, or by a beginning of its
// label, without regard to case and accents. A label that is typed in full is meant alone.
std::vector<Choice> ChoicesMeant(const std::vector<Choice>& choices, const std::string& line);

// Whether the number is that of another choice than the one that stands at this place of the list,
// counted from 1: who types it may mean either.
bool IsMisplacedNumber(const std::vector<Choice>& choices, const std::string& line);

// The choice that Enter presses. Null where that is none on the page: then Enter means what the
// program makes of it.
const ControlView* EnterTarget(const PageView& page);

// What a page without a user does: Escape at first and then, where that has done nothing, its first
// button that is enabled; nothing more after that. `leaving` is how far that has come.
enum class Leaving { NotYet, Escaped, Pressed };
std::optional<PageAction> LeaveAtEnd(const PageView& page, Leaving& leaving);

// The decimal number that is all of the line.
std::optional<int> NumberIn(const std::string& line);

// Without blanks at the ends.
std::string Trimmed(const std::string& line);

// The word that stands for the Escape key.
constexpr char EscapeWord[] = "esc";

} // namespace platform
