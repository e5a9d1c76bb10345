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
#include <optional>
#include <string>

using test_support::ReadBytes;
using test_support::WindowsPathOf;
using test_support::WriteFileBytes;

// Waits until the handheld answers over RAPI.
inline void ConnectRapi() {
    State.RapiInit.size = sizeof(State.RapiInit);
    ASSERT_EQ(0, CeRapiInitEx(&State.RapiInit));
    ASSERT_EQ(WAIT_OBJECT_0, WaitForSingleObject(RapiEvent(State.RapiInit), 1200000));
}

// A top-level window, or a window of the owner, that does nothing by itself.
inline HWND OpenPlainWindow(const char* title, HWND owner = nullptr) {
    WNDCLASSEXA windowClass = {};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = DefWindowProcA;
    windowClass.lpszClassName = "PLAINTEST";
    RegisterClassExA(&windowClass); // the second time it is there already
    return CreateWindowExA(0, "PLAINTEST", title, owner ? WS_POPUP : WS_OVERLAPPEDWINDOW, 0, 0, 0,
                           0, owner, nullptr, nullptr, nullptr);
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

    static const test_support::TestHome& Home() { return test_support::HomeOfTests(); }
    static std::filesystem::path Folder() { return Home().Tree() / "English"; }
};

// The same with a handheld in its cradle that answers over RAPI.
class HandheldTest : public WizardTest {
protected:
    void Connect(const test_support::CradleOptions& options = {}) {
        Home().RunHandheld({"make-agents", Folder().string()});
        std::filesystem::remove_all(Home().Device());
        cradle_.emplace(Home(), options);
        ConnectRapi();
    }
    // Gives the connection up, whose end the handheld reports with the handles left open in it.
    void ExpectNoOpenHandles() {
        CeRapiUninit();
        EXPECT_FALSE(Device().Handheld().Has("handles open"));
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
    bool IsOnDevice(const std::string& name) { return Device().HasFile(name); }

private:
    std::optional<test_support::Cradle> cradle_;
};
