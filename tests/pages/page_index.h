// The index of all pages on the layer's real dialogs.
#pragma once

#include "tests/pages/page_test.h"

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

inline std::string NameOfPage(const testing::TestParamInfo<PageFacts>& facts) {
    return "page_" + std::to_string(facts.param.dialog) + "_at_" + std::to_string(facts.index);
}

} // namespace page_test
