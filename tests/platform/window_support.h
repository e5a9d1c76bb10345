// What the tests of windows share: resources compiled from a script, and plain windows.
#pragma once

#include "platform/windows/resources.h"
#include "testing/child_process.h"
#include "testing/comes_true.h"
#include "testing/test_home.h"
#include "tests/platform/any_host.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

namespace window_support {

using any_host::OpenPlainWindow;
using test_support::ChildProcess;
using test_support::ComesTrue;
using test_support::HomeOfTests;

// The bytes of the .res file that the distribution's compiler makes of the script.
inline std::string CompileScript(const std::string& script) {
    const auto source = HomeOfTests().Path("test.rc"), result = HomeOfTests().Path("test.res");
    test_support::WriteFileBytes(source, script);
    const std::string command =
        "x86_64-w64-mingw32-windres -c 65001 -O res --preprocessor=gcc --preprocessor-arg=-E "
        "--preprocessor-arg=-xc --preprocessor-arg=-DRC_INVOKED -I " SOURCE_FOLDER
        "/platform/include -I " SOURCE_FOLDER "/assets -o " +
        result.string() + " " + source.string();
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    return test_support::ReadBytes(result);
}

// They have to stay as long as they are used.
inline void UseBytes(const std::string& bytes) {
    platform::UseResources(bytes.data(), bytes.data() + bytes.size());
}

} // namespace window_support
