// The model of a handheld: what each step changes in its files and registry, and its calls.

#include "testing/device_model.h"

#include "platform/base/text.h"
#include "testing/test_home.h"

#include <algorithm>
#include <sstream>

#include <strings.h>

namespace device_model {

namespace {

constexpr char Menus[] = "ControlPanel\\Menus";
constexpr char CoolMenu[] = "[ControlPanel\\Menus] CoolMenu";

std::string FolderOf(const std::string& path) { return path.substr(0, path.rfind('\\') + 1); }

// A key as it is stored: without the backslash with which it may be named.
std::string Stored(const std::string& key) { return key.substr(key.starts_with('\\') ? 1 : 0); }

std::string Bytes(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        text += (text.empty() ? "" : " ") + std::string{digits[value / 16], digits[value % 16]};
    }
    return text;
}

std::string TextBytes(const std::string& text) {
    std::string bytes;
    for (const char16_t unit : platform::Utf16FromUtf8(text) + u'\0') {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return "1:" + Bytes(bytes);
}

std::string NumberBytes(std::uint32_t number) {
    std::string bytes;
    for (int shift = 0; shift < 32; shift += 8)
        bytes += static_cast<char>(number >> shift & 0xFF);
    return "4:" + Bytes(bytes);
}

// Carries out one step after the other; `calls` has the lines that the device prints.
class StepRunner {
public:
    StepRunner(std::string refused, Content& content)
        : refused_(std::move(refused)), content_(content) {}

    void Run(const Step& step);
    std::vector<std::string> calls;

private:
    bool Call(const std::string& line) {
        calls.push_back(line);
        return line != refused_;
    }
    bool Has(const std::string& entry) const { return content_.contains(entry); }
    // The key as it is stored; case does not matter.
    std::string ExistingKey(const std::string& key) const {
        for (const auto& [name, value] : content_) {
            if (strcasecmp(name.c_str(), key.c_str()) == 0)
                return name;
        }
        return {};
    }
    void Write(const Step& step);
    void Delete(const std::string& path);
    void DeleteLink(const std::string& path);
    void RemoveFolder(const std::string& folder);
    void MakeFolder(const std::string& folder);
    void CopyLinks(const std::string& from, const std::string& to);
    void SetValue(const std::string& key, const std::string& name, const std::string& value);
    void RemoveKey(const std::string& key);
    void ClearMenu();
    // Calls `visit` with the name of each file of the folder that ends so.
    template <class Visit>
    void List(const std::string& pattern, const std::string& ending, Visit visit);

    const std::string refused_;
    Content& content_;
};

void StepRunner::Write(const Step& step) {
    if (!Call("CreateFile " + step.where) || !Has(FolderOf(step.where)) || Has(step.where + "\\"))
        return;
    content_[step.where] = "0x20 " + step.text;
    Call("WriteFile " + step.where + " " + std::to_string(step.text.size()));
    Call("CloseHandle " + step.where);
}

void StepRunner::Delete(const std::string& path) {
    if (Call("DeleteFile " + path))
        content_.erase(path);
}

void StepRunner::DeleteLink(const std::string& path) {
    if (!Call("CreateFile " + path) || !Has(path))
        return;
    Call("CloseHandle " + path);
    Delete(path);
}

template <class Visit>
void StepRunner::List(const std::string& pattern, const std::string& ending, Visit visit) {
    const std::string folder = FolderOf(pattern);
    std::vector<std::string> found;
    for (const auto& [name, entry] : content_) {
        if (name.starts_with(folder) && name != folder && FolderOf(name) == folder &&
            name.ends_with(ending))
            found.push_back(name);
    }
    if (!Call("FindFirstFile " + pattern) || found.empty())
        return;
    for (const std::string& name : found) {
        visit(name);
        Call("FindNextFile " + pattern);
    }
    Call("FindClose " + pattern);
}

void StepRunner::RemoveFolder(const std::string& folder) {
    List(folder + "\\*.*", "", [this](const std::string& name) { Delete(name); });
    if (Call("RemoveDirectory " + folder))
        content_.erase(folder + "\\");
}

void StepRunner::MakeFolder(const std::string& folder) {
    if (Call("CreateDirectory " + folder) && Has(FolderOf(folder)))
        content_.emplace(folder + "\\", "");
}

void StepRunner::CopyLinks(const std::string& from, const std::string& to) {
    List(from + "\\*.lnk", ".lnk", [&](const std::string& name) {
        const std::string copy = to + name.substr(from.size());
        if (Call("CopyFile " + name + " -> " + copy) && Has(to + "\\"))
            content_.emplace(copy, content_[name]);
    });
}

void StepRunner::SetValue(const std::string& key, const std::string& name,
                          const std::string& value) {
    const std::string stored = Stored(key);
    Call("RegOpenKey " + key);
    if (ExistingKey("[" + stored + "]").empty())
        Call("RegCreateKey " + key);
    for (std::size_t end = 0; end != std::string::npos;) {
        end = stored.find('\\', end + 1);
        const std::string part = "[" + stored.substr(0, end) + "]";
        if (ExistingKey(part).empty())
            content_[part] = "";
    }
    if (Call("RegSetValue " + stored + " " + name))
        content_[ExistingKey("[" + stored + "]") + " " + name] = value;
    Call("RegCloseKey " + stored);
}

void StepRunner::RemoveKey(const std::string& key) {
    const std::string stored = Stored(key);
    if (!Call("RegDeleteKey " + key))
        return;
    std::erase_if(content_,
                  [&](const auto& entry) { return entry.first.starts_with("[" + stored + "]"); });
}

void StepRunner::ClearMenu() {
    Call(std::string("RegOpenKey ") + Menus);
    Call(std::string("RegQueryValue ") + Menus + " CoolMenu");
    if (!content_[CoolMenu].starts_with("0:00") &&
        Call(std::string("RegSetValue ") + Menus + " CoolMenu"))
        content_[CoolMenu] = "0:00";
    Call(std::string("RegCloseKey ") + Menus);
}

void StepRunner::Run(const Step& step) {
    switch (step.change) {
    case Change::Write:
        return Write(step);
    case Change::Delete:
        return Delete(step.where);
    case Change::DeleteLink:
        return DeleteLink(step.where);
    case Change::RemoveFolder:
        return RemoveFolder(step.where);
    case Change::MakeFolder:
        return MakeFolder(step.where);
    case Change::CopyLinks:
        return CopyLinks(step.where, step.what);
    case Change::SetText:
        return SetValue(step.where, step.what, TextBytes(step.text));
    case Change::SetNumber:
        return SetValue(step.where, step.what, NumberBytes(step.number));
    case Change::RemoveKey:
        return RemoveKey(step.where);
    case Change::ClearMenu:
        return ClearMenu();
    }
}

void ReadFiles(const std::filesystem::path& device, Content& content) {
    std::map<std::string, std::string> attributes;
    std::istringstream lines(test_support::ReadBytes(device / "attributes"));
    for (std::string line; std::getline(lines, line);)
        attributes[line.substr(line.find(' ') + 1)] = line.substr(0, line.find(' '));
    const auto root = device / "files";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
        const std::string name = entry.path().lexically_relative(root).string();
        std::string path = "\\" + name;
        std::ranges::replace(path, '/', '\\');
        if (entry.is_directory()) {
            content[path + "\\"] = "";
            continue;
        }
        const auto known = attributes.find(name);
        content[path] = (known == attributes.end() ? "0x20" : known->second) + " " +
                        test_support::ReadBytes(entry.path());
    }
}

void ReadRegistry(const std::filesystem::path& device, Content& content) {
    std::istringstream lines(test_support::ReadBytes(device / "registry"));
    std::string key;
    for (std::string line; std::getline(lines, line);) {
        const std::size_t end = line.find("\"=");
        if (line.starts_with('['))
            content[key = line] = "";
        else if (end != std::string::npos)
            content[key + " " + line.substr(1, end - 1)] = line.substr(end + 2);
    }
}

} // namespace

Content Read(const std::filesystem::path& device) {
    Content content;
    content["\\"] = ""; // the root is a folder, too
    ReadFiles(device, content);
    ReadRegistry(device, content);
    return content;
}

std::string DecidingCall(const Step& step) {
    switch (step.change) {
    case Change::Write:
    case Change::DeleteLink:
        return "CreateFile " + step.where;
    case Change::Delete:
        return "DeleteFile " + step.where;
    case Change::RemoveFolder:
        return "RemoveDirectory " + step.where;
    case Change::MakeFolder:
        return "CreateDirectory " + step.where;
    case Change::CopyLinks:
        return "FindFirstFile " + step.where + "\\*.lnk";
    case Change::RemoveKey:
        return "RegDeleteKey " + step.where;
    case Change::ClearMenu:
        return std::string("RegSetValue ") + Menus + " CoolMenu";
    default:
        return "RegSetValue " + Stored(step.where) + " " + step.what;
    }
}

std::vector<std::string> Apply(const std::vector<Step>& steps, const std::string& refused,
                               Content& content) {
    StepRunner runner(refused, content);
    for (const Step& step : steps)
        runner.Run(step);
    return runner.calls;
}

} // namespace device_model
