// Fixtures for tests that call the wizard's modules in their own process: home and clock of the
// platform, a folder tree, and the record as a run has it when its pages are over.
//
// No page comes up in these tests, since the run counts as ended: what a failure returns to its
// caller is checked, while tests of whole runs check the pages.
#pragma once

#include "state/state.h"
#include "testing/cradle.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <string>

// One for all tests of a process, because the layer looks up its home and its clock only once.
inline const test_support::TestHome& HomeOfTests() {
    static const test_support::TestHome home;
    static const bool ready = [] {
        for (const auto& [name, value] : home.Variables())
            setenv(name.c_str(), value.c_str(), 1);
        return true;
    }();
    static_cast<void>(ready);
    return home;
}

// Z: is the root of the file system.
inline std::string WindowsPathOf(const std::filesystem::path& path) {
    std::string text = "Z:" + path.string();
    for (char& character : text) {
        if (character == '/')
            character = '\\';
    }
    return text;
}

inline void WriteFileBytes(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

template <std::size_t Size>
void SetText(char (&target)[Size], const std::string& text) {
    ASSERT_LT(text.size(), Size);
    std::snprintf(target, Size, "%s", text.c_str());
}

class WizardTest : public testing::Test {
protected:
    void SetUp() override {
        std::filesystem::remove_all(Home().Tree());
        std::filesystem::create_directories(Home().Tree() / "English");
        State.Paths = {};
        State.Image = {};
        State.Run.RunEnded = true;
        State.Run.SerialLinkSelected = true;
        State.Run.BootloaderResume = false;
        SetText(State.Paths.AppDirectory, WindowsPathOf(Home().Tree()));
        SetText(State.Paths.LanguageFolder, "English");
    }

    static const test_support::TestHome& Home() { return HomeOfTests(); }
    static std::filesystem::path Folder() { return Home().Tree() / "English"; }
};

// The same with a handheld in its cradle that answers over RAPI.
class HandheldTest : public WizardTest {
protected:
    void Connect(const test_support::CradleOptions& options = {}) {
        Home().RunHandheld({"make-agents", Folder().string()});
        std::filesystem::remove_all(Home().Device());
        cradle_.emplace(Home(), options);
        State.RapiInit.size = sizeof(State.RapiInit);
        ASSERT_EQ(0, CeRapiInitEx(&State.RapiInit));
        ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(RapiEvent(State.RapiInit), 1200000));
    }

    void TearDown() override {
        CeRapiUninit();
        cradle_.reset();
    }

    test_support::Cradle& Device() { return *cradle_; }

    std::string OnDevice(const std::string& name) {
        const auto bytes = test_support::ReadFileBytes(Device().File(name));
        return {bytes.begin(), bytes.end()};
    }
    bool IsOnDevice(const std::string& name) {
        return std::filesystem::exists(Device().File(name));
    }

private:
    std::optional<test_support::Cradle> cradle_;
};
