// Making, filling and removing the folder of a test, and reading and writing its files.

#include "testing/test_home.h"

#include "testing/comes_true.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <unistd.h>

namespace test_support {

namespace {

// The connection manager of that home; 0 where its number is no longer such a process.
pid_t ConnectionManagerOf(const std::filesystem::path& home) {
    std::ifstream file(home / "connection-manager.pid");
    pid_t process = 0;
    std::error_code error;
    if (!(file >> process) || process <= 0)
        return 0;
    const auto program =
        std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/exe", error);
    return !error && program.filename() == "connection-manager" ? process : 0;
}

} // namespace

TestHome::TestHome() {
    std::string name = (std::filesystem::temp_directory_path() / "rom-wizard-XXXXXX").string();
    if (!mkdtemp(name.data()))
        throw std::runtime_error("cannot make " + name);
    root_ = name;
    std::filesystem::create_directory(Home());
    std::filesystem::permissions(Home(), std::filesystem::perms::owner_all);
    std::filesystem::create_directory(Tree());
    RemovePorts();
}

void TestHome::RemovePorts() const {
    const auto ports = Home() / "ports";
    std::filesystem::create_directories(ports);
    std::filesystem::permissions(ports, std::filesystem::perms::owner_all);
    for (const char* port : {"COM1", "COM2", "COM3", "COM4", "WCEUSBSH001"}) {
        std::filesystem::remove(ports / port);
        std::filesystem::create_symlink(Path("no such port"), ports / port);
    }
}

TestHome::~TestHome() {
    if (const pid_t manager = ConnectionManagerOf(Home()))
        kill(manager, SIGTERM);
    std::error_code ignored;
    std::filesystem::remove_all(root_, ignored);
}

std::filesystem::path TestHome::AddLanguageFolder(const ImageOptions& options) const {
    RunHandheld({"make-agents", (Tree() / options.folder).string()});
    return MakeImage(options);
}

std::filesystem::path TestHome::MakeImage(const ImageOptions& options) const {
    auto path = Tree() / options.folder / options.file;
    std::filesystem::create_directories(path.parent_path());
    RunHandheld({"make-image", path.string(), "--model", options.model, "--language",
                 options.language, "--version", options.version, "--size",
                 std::to_string(options.size), "--seed", std::to_string(options.seed)});
    return path;
}

Environment TestHome::Variables(const Environment& added) const {
    Environment variables = {{"ROM_WIZARD_HOME", Home().string()},
                             {"ROM_WIZARD_DISPLAY", "terminal"},
                             {"ROM_WIZARD_CLOCK", "20"},
                             {"ROM_WIZARD_HANDLES", "1"},
                             {"XDG_RUNTIME_DIR", root_.string()}}; // without it Qt makes one
    for (const auto& [name, value] : added) {
        std::erase_if(variables,
                      [&name = name](const auto& variable) { return variable.first == name; });
        variables.emplace_back(name, value);
    }
    return variables;
}

pid_t TestHome::AwaitConnectionManager() const {
    pid_t manager = 0;
    if (!ComesTrue([&] { return (manager = ConnectionManagerOf(Home())) != 0; }))
        throw std::runtime_error("no connection manager comes up");
    return manager;
}

std::pair<int, std::string> TestHome::TryHandheld(const std::vector<std::string>& words) const {
    std::vector<std::string> command = {ProgramFolder() + "/handheld"};
    command.insert(command.end(), words.begin(), words.end());
    ChildProcess process(command, {.environment = Variables()});
    process.CloseInput();
    const std::string text = process.AllOutput();
    return {process.Wait(), text};
}

std::string TestHome::RunHandheld(const std::vector<std::string>& words) const {
    const auto [code, text] = TryHandheld(words);
    if (code != 0)
        throw std::runtime_error("handheld " + words[0] + " ended with " + std::to_string(code) +
                                 ":\n" + text);
    return text;
}

const TestHome& HomeOfTests() {
    static const TestHome home;
    static const bool ready = [] {
        for (const auto& [name, value] : home.Variables())
            setenv(name.c_str(), value.c_str(), 1);
        return true;
    }();
    static_cast<void>(ready);
    return home;
}

std::string ReadBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::error_code failed;
    const auto size = std::filesystem::file_size(path, failed);
    std::string bytes(failed ? 0 : size, '\0');
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(file.gcount()));
    return bytes.append(std::istreambuf_iterator<char>(file), {}); // a size that is not told is 0
}

std::vector<std::uint8_t> ReadFileBytes(const std::filesystem::path& path) {
    const std::string bytes = ReadBytes(path);
    if (bytes.size() != std::filesystem::file_size(path)) // which throws without a file
        throw std::runtime_error("cannot read " + path.string());
    return {bytes.begin(), bytes.end()};
}

void WriteFileBytes(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

std::string WindowsPathOf(const std::filesystem::path& path) {
    std::string name = "Z:" + path.string();
    std::ranges::replace(name, '/', '\\');
    return name;
}

} // namespace test_support
