// The two shapes to which a handheld is brought: its registry, its buttons and its menus.
#pragma once

#include <optional>

enum Layout {
    EarlyLayout, // links in the Start Menu folders under \Windows, no disk driver
    LateLayout,  // links in a menu tree at \Norvan Menu
};

// The layout of an image of that version: early up to 1.40, late from 1.41 on. No version text lies
// between the two; a number that did would have none.
std::optional<Layout> LayoutOf(float imageVersion);
