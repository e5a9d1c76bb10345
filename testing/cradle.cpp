// Starting the simulated handheld and its connection manager, and reading what they keep on disk.

#include "testing/cradle.h"

#include "testing/comes_true.h"
#include "testing/pc_side.h"

#include <csignal>
#include <sstream>
#include <stdexcept>

namespace test_support {

namespace {

StoredValue ParseStored(const std::string& text) {
    StoredValue value;
    std::istringstream parts(text);
    char colon = 0;
    parts >> value.type >> colon >> std::hex;
    for (unsigned byte = 0; parts >> byte;)
        value.data.push_back(static_cast<std::uint8_t>(byte));
    return value;
}

} // namespace

std::uint32_t StoredValue::Number() const {
    std::uint32_t number = 0;
    for (std::size_t at = data.size(); at-- > 0;)
        number = number << 8 | data[at];
    return number;
}

std::u16string StoredValue::Text() const {
    std::u16string text;
    for (std::size_t at = 0; at + 1 < data.size(); at += 2)
        text += static_cast<char16_t>(data[at] | data[at + 1] << 8);
    if (text.ends_with(u'\0'))
        text.pop_back();
    return text;
}

Cradle::Cradle(const TestHome& home, const CradleOptions& options)
    : home_(home), environment_(home.Variables({{"ROM_WIZARD_CLOCK", options.clock}})) {
    if (options.create)
        home.RunHandheld({"create", home.Device().string(), "--model", options.model, "--version",
                          options.version, "--language", options.language, "--flash",
                          std::to_string(options.flashMegabytes)});
    RestartHandheld(options.run);
    if (options.withManager)
        StartManager(options.manager);
}

// One that does not end, as a test has stopped it, is killed with its object.
Cradle::~Cradle() {
    for (ChildProcess* const process : {handheld_.get(), manager_.get()}) {
        try {
            if (process) {
                process->Signal(SIGTERM);
                process->Wait();
            }
        } catch (const std::runtime_error&) {
        }
    }
}

void Cradle::TakeOut() {
    if (handheld_) {
        handheld_->Signal(SIGTERM);
        handheld_->Wait();
    }
    home_.RemovePorts();
}

void Cradle::RestartHandheld(const std::vector<std::string>& runOptions) {
    TakeOut();
    std::vector<std::string> command = {ProgramFolder() + "/handheld", "run",
                                        home_.Device().string()};
    command.insert(command.end(), runOptions.begin(), runOptions.end());
    handheld_ =
        std::make_unique<ChildProcess>(command, ProcessOptions{.environment = environment_});
    handheld_->ExpectLine([](const std::string& line) { return line == "ready"; }, "\"ready\"");
}

void Cradle::StartManager(const std::vector<std::string>& options) {
    manager_.reset();
    std::vector<std::string> command = {ProgramFolder() + "/connection-manager"};
    command.insert(command.end(), options.begin(), options.end());
    manager_ = std::make_unique<ChildProcess>(command, ProcessOptions{.environment = environment_});
    manager_->ExpectLine([](const std::string& line) { return line == "ready"; }, "\"ready\"");
}

void Cradle::Reset(bool navigatorKey) {
    std::vector<std::string> words = {"reset", home_.Device().string()};
    if (navigatorKey)
        words.push_back("--bootloader");
    home_.RunHandheld(words);
}

void Cradle::AwaitConnection() const {
    const auto answers = [this] {
        try {
            return RapiClient(home_, "rapi.sock").Call(rapi_wire::Operation::Hello).result == 1;
        } catch (const std::runtime_error&) {
            return false;
        }
    };
    if (!ComesTrue(answers))
        throw std::runtime_error("no connection manager reaches the handheld");
}

std::string Cradle::Status() const {
    return home_.RunHandheld({"status", home_.Device().string()});
}

std::string Cradle::StatusOf(const std::string& name) const {
    std::istringstream lines(Status());
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name + ": "))
            return line.substr(name.size() + 2);
    }
    return "";
}

std::string Cradle::Refused() const { return ReadBytes(home_.Device() / "refused"); }

bool Cradle::FlashEquals(const std::filesystem::path& image) const {
    return home_.TryHandheld({"compare", home_.Device().string(), image.string()}).first == 0;
}

std::filesystem::path Cradle::File(const std::string& name) const {
    return home_.Device() / "files" / name;
}

std::uint32_t Cradle::Attributes(const std::string& name) const {
    std::istringstream lines(ReadBytes(home_.Device() / "attributes"));
    for (std::string line; std::getline(lines, line);) {
        if (line.ends_with(" " + name) && line.find(' ') == line.size() - name.size() - 1)
            return static_cast<std::uint32_t>(std::stoul(line, nullptr, 16));
    }
    return std::filesystem::is_directory(File(name)) ? 0x10 : 0x20;
}

Cradle::RegistryContent Cradle::Registry() const {
    RegistryContent content;
    std::istringstream lines(ReadBytes(home_.Device() / "registry"));
    std::string key;
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with('['))
            content[key = line.substr(1, line.size() - 2)];
        else if (const auto end = line.rfind("\"="); end != std::string::npos)
            content[key][line.substr(1, end - 1)] = ParseStored(line.substr(end + 2));
    }
    return content;
}

std::optional<StoredValue> Cradle::RegistryValue(const std::string& key,
                                                 const std::string& name) const {
    const RegistryContent content = Registry();
    const auto found = content.find(key);
    if (found == content.end() || !found->second.contains(name))
        return std::nullopt;
    return found->second.at(name);
}

bool Cradle::HasRegistryKey(const std::string& key) const { return Registry().contains(key); }

} // namespace test_support
