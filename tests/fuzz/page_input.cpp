// A page at the terminal and what is typed to it. The input is the page's controls, a line each,
// and then the line that is typed.

#include "platform/base/text.h"
#include "platform/terminal/choices.h"
#include "platform/terminal/page_text.h"
#include "platform/terminal/wrapping.h"
#include "tests/fuzz/target.h"

using fuzz::Require;
using namespace platform;

namespace {

ControlView ReadControl(fuzz::Input& input, std::uintptr_t number) {
    ControlView control = {};
    control.handle = reinterpret_cast<HWND>(number);
    control.id = static_cast<int>(number + 1000);
    control.kind = static_cast<ControlKind>(input.Byte() % 6);
    const std::uint8_t flags = input.Byte();
    control.visible = flags & 1;
    control.enabled = flags & 2;
    control.isDefault = flags & 4;
    control.painted.textColour = flags & 16 ? 0xFF : 0;
    const LONG left = input.Byte() % 4 * 100, top = input.Byte() % 8 * 20;
    control.rect = {left, top, left + 90, top + 16};
    control.text = Utf8FromAnsi(input.Line());
    return control;
}

std::string WithoutBlanks(std::string text) {
    std::erase_if(text, [](char letter) { return letter == ' ' || letter == '\n'; });
    return text;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input{{data, size}};
    PageView page = {};
    for (auto count = input.Byte() % 16U; page.controls.size() < count;)
        page.controls.push_back(ReadControl(input, page.controls.size() + 1));
    const auto choices = ChoicesOf(page);
    for (const Choice& choice : choices) { // what is shown as its key means it and nothing else
        const auto meant = ChoicesMeant(choices, choice.key);
        Require(meant.size() == 1 && meant[0].control == choice.control);
    }
    for (const Choice& choice : ChoicesMeant(choices, input.Line()))
        Require(choice.control->visible && IsInteractive(choice.control->kind));
    const ControlView* target = EnterTarget(page);
    Require(!target || (target->visible && target->kind == ControlKind::PushButton));
    const std::size_t columns = 20 + size % 80;
    for (const PageLine& text : PageTexts(page)) {
        const std::string wrapped = Wrapped(text.text, columns);
        Require(WithoutBlanks(wrapped) == WithoutBlanks(text.text));
        fuzz::Input lines{{reinterpret_cast<const std::uint8_t*>(wrapped.data()), wrapped.size()}};
        while (!lines.left.empty())
            Require(ColumnsOf(lines.Line()) <= columns);
    }
    return 0;
}
