// Which layout a version has. Versions are compared as 32-bit numbers on both sides: in 64 bits the
// text "1.40" would not be equal to 1.4.

#include "preparation/layout.h"

std::optional<Layout> LayoutOf(float imageVersion) {
    constexpr float LastEarly = 1.4F;
    constexpr float FirstLate = 1.41F;
    if (imageVersion <= LastEarly)
        return EarlyLayout;
    if (imageVersion >= FirstLate)
        return LateLayout;
    return std::nullopt;
}
