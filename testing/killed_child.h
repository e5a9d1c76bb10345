// A piece of work that is killed in the middle, at any of its calls of the system.
#pragma once

#include <functional>

namespace test_support {

enum class ChildEnd { Killed, Done, Failed, NotTraceable };

// Does the work in a forked child and kills it at its stop with that number, from 0; it stops
// before and after each of its calls of the system. Done and Failed: it came to its end before that
// stop, and the work returned true or false.
ChildEnd RunKilledAtStop(int stop, const std::function<bool()>& work);

} // namespace test_support
