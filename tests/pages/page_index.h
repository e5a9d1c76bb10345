// A fixture for tests that run for each page of the index, on the platform's real dialogs.
#pragma once

#include "testing/page_test.h"

#include <optional>

namespace page_test {

// Any page, with the banner that the wizard loads before its first one.
class IndexedPage : public PageTest, public testing::WithParamInterface<PageFacts> {
protected:
    void SetUp() override {
        PageTest::SetUp();
        banner_.emplace();
    }
    void TearDown() override {
        banner_.reset();
        PageTest::TearDown();
    }

private:
    std::optional<LoadedBanner> banner_;
};

// What a display gets to show of the text, for which 1152 has one line.
inline std::string ShownText(const TextFact& fact) {
    const std::size_t end = fact.control == 1152 ? fact.words.find("\r\n") : std::string::npos;
    return Utf8(fact.words.substr(0, end).c_str());
}

} // namespace page_test
