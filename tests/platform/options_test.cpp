// What the wizard says before any page: its options, and a display that is not there.

#include "testing/child_process.h"
#include "testing/test_home.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

using namespace test_support;

TEST(Options, are_answered_and_what_is_no_option_or_display_is_named) {
    const struct {
        std::vector<std::string> options;
        const char* display;
        int code;
        const char* says;
    } cases[] = {
        {{"--version"}, "terminal", 0, "rom-wizard "},
        {{"--help"}, "terminal", 0, "usage: rom-wizard [--help | --version]"},
        {{"--help", "-x"}, "terminal", 2, "rom-wizard: -x: no such option; try --help"},
        {{}, "wall", 2, "ROM_WIZARD_DISPLAY: the display 'wall' is not built in"},
        {{}, "desktop", 2, "the display 'desktop' is not there: it is not installed"},
    };
    const std::string program =
        (HomeOfTests().Home() / "rom-wizard").string(); // without its module
    std::filesystem::copy_file(ProgramFolder() + "/rom-wizard", program);
    for (const auto& [options, display, code, says] : cases) {
        std::vector<std::string> command = {program};
        command.insert(command.end(), options.begin(), options.end());
        ChildProcess wizard(command, {.environment = {{"ROM_WIZARD_DISPLAY", display}}});
        wizard.ExpectLine(says);
        EXPECT_EQ(code, wizard.Wait());
    }
}

} // namespace
