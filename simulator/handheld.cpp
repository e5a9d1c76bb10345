// The simulated handheld: its commands, each a row of one table with its options and its usage.

#include "simulator/agents.h"
#include "simulator/arguments.h"
#include "simulator/device_state.h"
#include "simulator/faults.h"
#include "simulator/handheld_run.h"
#include "simulator/images.h"
#include "simulator/status.h"

#include <algorithm>
#include <cstdio>

namespace simulator {

namespace {

constexpr int Refused = 1;

struct Command {
    const char* name;
    std::vector<std::string> positional; // names of the positional arguments
    std::vector<OptionRow> options;
    const char* help;
    int (*run)(const Arguments& arguments);
};

int Create(const Arguments& arguments) {
    const Identity identity = {arguments.Get("--model", "TOLKP1000"),
                               arguments.Get("--version", "1.10"),
                               arguments.Get("--language", "ENG")};
    StateFolder::Create(arguments.positional[0], identity,
                        ParseNumber32(arguments.Get("--flash", "16")), !arguments.Has("--battery"));
    return 0;
}

int MakeImageFile(const Arguments& arguments) {
    for (const char* needed : {"--model", "--language", "--version", "--size"}) {
        if (!arguments.Has(needed))
            throw UsageError(std::string(needed) + ": needed");
    }
    MakeImage(arguments.positional[0],
              {arguments.Get("--model"), arguments.Get("--version"), arguments.Get("--language")},
              ParseNumber(arguments.Get("--size")), ParseNumber(arguments.Get("--seed", "1")));
    return 0;
}

int MakeAgentFiles(const Arguments& arguments) {
    MakeAgents(arguments.positional[0]);
    return 0;
}

int Run(const Arguments& arguments) {
    RunOptions options;
    options.baud = ParseNumber32(arguments.Get("--baud", "0"));
    options.usbBaud = ParseNumber32(arguments.Get("--usb-baud", "0"));
    options.navigatorKey = arguments.Has("--bootloader");
    if (arguments.Has("--battery"))
        options.externalPower = false;
    options.logFile = arguments.Get("--log");
    options.timesFile = arguments.Get("--times");
    for (const auto& [name, value] : arguments.options) {
        const auto row = std::ranges::find(FaultTable(), name, &FaultRow::option);
        if (row != FaultTable().end())
            row->set(options.faults, value);
    }
    RunHandheld(StateFolder(arguments.positional[0]), options);
    return 0;
}

int Reset(const Arguments& arguments) {
    ResetHandheld(StateFolder(arguments.positional[0]), arguments.Has("--bootloader"));
    return 0;
}

int Power(const Arguments& arguments) {
    const std::string& power = arguments.positional[1];
    if (power != "on" && power != "off")
        throw UsageError(power + ": neither on nor off");
    StateFolder(arguments.positional[0]).SetExternalPower(power == "on");
    return 0;
}

int Status(const Arguments& arguments) {
    PrintStatus(StateFolder(arguments.positional[0]));
    return 0;
}

int Compare(const Arguments& arguments) {
    return CompareFlash(StateFolder(arguments.positional[0]), arguments.positional[1]) ? 0
                                                                                       : Refused;
}

std::vector<OptionRow> RunOptionRows() {
    std::vector<OptionRow> rows = {
        {"--baud", "N", "pace the serial end, 10 bits to a byte (default: unpaced)"},
        {"--usb-baud", "N", "the same for the USB end"},
        {"--battery", "", "not on external power"},
        {"--bootloader", "", "switched on with the navigator key held down"},
        {"--log", "FILE", "the bytes that came over the link, as they came"},
        {"--times", "FILE", "when tokens went out and pieces came in, in ns"},
    };
    for (const FaultRow& row : FaultTable())
        rows.push_back({row.option, row.value ? row.value : "", row.effect});
    return rows;
}

std::vector<Command> Commands() {
    return {
        {"create",
         {"DIR"},
         {{"--model", "MODEL", "9 characters (TOLKP1000)"},
          {"--version", "VERSION", "such as 1.10 or 1.10.00 (1.10)"},
          {"--language", "CODE", "such as ENG (ENG)"},
          {"--flash", "MB", "size of the flash (16)"},
          {"--battery", "", "not on external power"}},
         "makes a new handheld in a folder",
         Create},
        {"make-image",
         {"FILE"},
         {{"--model", "MODEL", "9 characters"},
          {"--language", "CODE", "such as ENG"},
          {"--version", "VERSION", "4 characters, such as 2.00"},
          {"--size", "BYTES", "of the whole file, such as 0xF80020"},
          {"--seed", "N", "another seed, another image (1)"}},
         "makes an image file",
         MakeImageFile},
        {"make-agents",
         {"FOLDER"},
         {},
         "makes the files that stand beside an image",
         MakeAgentFiles},
        {"run",
         {"DIR"},
         RunOptionRows(),
         "puts it into the cradle; faults last until a reset. STEP is a token's: that after "
         "`start`,\n"
         "      `size` or a piece's number; of the bootloader `start`, `sync`, `record` or a "
         "block's",
         Run},
        {"reset",
         {"DIR"},
         {{"--bootloader", "", "with the navigator key held down"}},
         "resets it, running or not",
         Reset},
        {"power", {"DIR", "on|off"}, {}, "connects or cuts external power", Power},
        {"status", {"DIR"}, {}, "tells what it is and what was refused", Status},
        {"compare", {"DIR", "IMAGE"}, {}, "compares its flash with an image", Compare},
    };
}

std::string Usage() {
    std::string usage = "usage: handheld COMMAND, where a command is one of\n";
    for (const Command& command : Commands()) {
        usage += std::string("  ") + command.name;
        for (const std::string& name : command.positional)
            usage += " " + name;
        usage += std::string(command.options.empty() ? "" : " [options]") + "\n      " +
                 command.help + "\n" + UsageOf(command.options);
    }
    return usage;
}

int RunCommand(std::span<const std::string> words) {
    const std::vector<Command> commands = Commands();
    if (words.empty())
        throw UsageError("a command is needed");
    const auto command = std::ranges::find(commands, words[0], &Command::name);
    if (command == commands.end())
        throw UsageError(words[0] + ": no such command");
    const Arguments arguments =
        ParseArguments(words.subspan(1), command->options, command->positional.size());
    return command->run(arguments);
}

} // namespace

} // namespace simulator

int main(int count, char** words) {
    return simulator::RunProgram("handheld", std::vector<std::string>(words + 1, words + count),
                                 simulator::Usage, simulator::RunCommand);
}
