// Lines on a narrow terminal.

#include "platform/terminal/wrapping.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

namespace {

using platform::Wrapped;

TEST(Wrapping, goes_on_under_the_first_letter_and_counts_characters) {
    EXPECT_EQ("  1. the quick brown\n  fôx jûmps övér thé\n  lazy dog",
              Wrapped("  1. the quick brown fôx jûmps övér thé lazy dog", 20));
}

TEST(Wrapping, loses_nothing_of_a_text_that_is_pushed_far_to_the_right) {
    const auto letters = [](std::string text) {
        std::erase_if(text, [](char letter) { return letter == ' ' || letter == '\n'; });
        return text;
    };
    const std::string text = std::string(35, ' ') + "words that begin behind many blanks, and a "
                                                    "verylongwordwithoutasingleblankinside";
    for (std::size_t columns = 1; columns < 100; ++columns) {
        const std::string wrapped = Wrapped(text, columns);
        EXPECT_EQ(letters(text), letters(wrapped)) << columns;
        std::istringstream lines(wrapped);
        for (std::string line; std::getline(lines, line);)
            EXPECT_LE(line.size(), std::max<std::size_t>(columns, 20)) << columns;
    }
}

} // namespace
