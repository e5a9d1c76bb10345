// Which choice is meant by what was typed.

#include "platform/terminal/choices.h"

#include "platform/windows/page_lines.h"

#include <algorithm>
#include <charconv>

namespace platform {

namespace {

// In small letters without accents, so that it can be typed on any keyboard. Of the letters beyond
// ASCII those of Latin-1 count, which in UTF-8 follow the byte C3.
std::string Folded(const std::string& text) {
    constexpr char Latin[] = "aaaaaaaceeeeiiiidnooooo*ouuuuyts" //
                             "aaaaaaaceeeeiiiidnooooo/ouuuuyty";
    std::string folded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte == 0xC3 && i + 1 < text.size())
            folded.push_back(Latin[static_cast<unsigned char>(text[++i]) & 0x3F]);
        else
            folded.push_back(byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte + 0x20) : text[i]);
    }
    return folded;
}

// The shortest beginning of the label that is none of another's; empty where there is none. No
// beginning that is a number itself, for it could be that of another control. Labels are folded.
std::string KeyOf(const std::string& label, const std::vector<std::string>& labels) {
    for (std::size_t length = 1; length <= label.size(); ++length) {
        std::string key = label.substr(0, length);
        const bool ends = key.back() == ' ' || (static_cast<unsigned char>(key.back()) & 0x80);
        if (!ends && !NumberIn(key) && std::ranges::count_if(labels, [&](const std::string& other) {
                                           return other.starts_with(key);
                                       }) == 1)
            return key;
    }
    return {};
}

} // namespace

std::string Trimmed(const std::string& line) {
    auto start = line.find_first_not_of(" \t");
    auto end = line.find_last_not_of(" \t");
    return start == std::string::npos ? "" : line.substr(start, end - start + 1);
}

std::optional<int> NumberIn(const std::string& line) {
    int number = 0;
    auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (error != std::errc() || end != line.data() + line.size())
        return std::nullopt;
    return number;
}

std::vector<Choice> ChoicesOf(const PageView& page) {
    std::vector<Choice> choices;
    std::vector<std::string> labels;
    for (const ControlView* control : InteractiveControls(page)) {
        std::string label = Trimmed(Printable(LabelOf(page, *control)));
        std::ranges::replace(label, '\n', ' ');
        labels.push_back(Folded(label));
        choices.push_back({control, label, {}});
    }
    for (std::size_t index = 0; index < choices.size(); ++index) {
        const std::string key = KeyOf(labels[index], labels);
        choices[index].key = key.empty() ? std::to_string(choices[index].control->id) : key;
    }
    return choices;
}

std::vector<Choice> ChoicesMeant(const std::vector<Choice>& choices, const std::string& line) {
    std::vector<Choice> meant;
    const std::string typed = Folded(line);
    const auto number = NumberIn(line);
    for (const Choice& choice : choices)
        if (number && choice.control->id == *number)
            return {choice};
    for (const Choice& choice : choices) {
        const std::string label = Folded(choice.label);
        if (label == typed)
            return {choice};
        if (!typed.empty() && label.starts_with(typed))
            meant.push_back(choice);
    }
    return meant;
}

bool IsMisplacedNumber(const std::vector<Choice>& choices, const std::string& line) {
    const auto number = NumberIn(line);
    if (!number || *number < 1 || static_cast<std::size_t>(*number) > choices.size())
        return false;
    return choices[static_cast<std::size_t>(*number) - 1].control->id != *number;
}

const ControlView* EnterTarget(const PageView& page) {
    const ControlView* target = nullptr;
    for (const ControlView* control : InteractiveControls(page)) {
        if (control->kind != ControlKind::PushButton)
            continue;
        if (control->hasFocus && control->enabled)
            return control;
        if (control->isDefault || (!target && control->id == IDOK))
            target = control;
    }
    return target;
}

std::optional<PageAction> LeaveAtEnd(const PageView& page, Leaving& leaving) {
    if (leaving == Leaving::NotYet) {
        leaving = Leaving::Escaped;
        return PageAction{PageAction::Escape, nullptr};
    }
    if (leaving == Leaving::Pressed)
        return std::nullopt;
    for (const ControlView* control : InteractiveControls(page)) {
        if (control->kind != ControlKind::PushButton || !control->enabled)
            continue;
        leaving = Leaving::Pressed;
        return PageAction{PageAction::Click, control->handle};
    }
    return std::nullopt; // until one of them is enabled
}

} // namespace platform
