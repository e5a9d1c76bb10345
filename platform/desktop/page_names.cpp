// A page is named by what a user sees first on it, and what only colour or position says is put
// into words: without that, all pages would be called by the one title, and a warning sound like
// any other text.

#include "platform/desktop/page_names.h"

#include "platform/windows/page_lines.h"

#include <QRegularExpression>

#include <algorithm>

namespace platform::desktop {

namespace {

bool IsText(const ControlView& control) {
    return control.kind == ControlKind::Text && control.visible && !control.text.empty();
}

const ControlView* UppermostText(const PageView& page) {
    const ControlView* uppermost = nullptr;
    for (const ControlView& control : page.controls)
        if (IsText(control) && (!uppermost || control.rect.top < uppermost->rect.top))
            uppermost = &control;
    return uppermost;
}

bool IsLabelOf(const ControlView& label, const ControlView& text) {
    return &label != &text && IsText(label) && IsText(text) && label.rect.top == text.rect.top &&
           label.rect.left <= text.rect.left && Words(label.text).endsWith(':');
}

// Up to a point, an empty line, or a colon at the end of a line. A heading has none of them, and a
// point within a number or three of them do not end a sentence.
QString FirstSentence(const std::string& text) {
    static const QRegularExpression sentence(R"(^.+?(?:\.(?=\s)|:(?=\s*\n)|(?=\n\s*\n)|$))",
                                             QRegularExpression::DotMatchesEverythingOption);
    return sentence.match(Words(text)).captured().simplified();
}

} // namespace

QString Words(const std::string& text) { return QString::fromStdString(text).trimmed(); }

QString HeadingOf(const PageView& page) {
    const ControlView* text = UppermostText(page);
    return text ? FirstSentence(text->text) : QString();
}

QString NameOf(const PageView& page) {
    QStringList names = {HeadingOf(page), Words(page.title)};
    names.removeAll({});
    return names.join(QStringLiteral(" – "));
}

QString NameOf(const PageView& page, const ControlView& control) {
    return control.kind == ControlKind::Progress ? HeadingOf(page) : Words(LabelOf(page, control));
}

QString NameOfText(const ControlView& text, const QString& label) {
    constexpr COLORREF Red = RGB(255, 0, 0);
    const bool marked = text.painted.textColour == Red || text.painted.background == Red;
    QStringList parts = {
        marked ? QString::fromStdString(InLanguageOfPages({Phrase::Attention})) : QString(), label};
    parts.removeAll({});
    return parts.empty() ? QString() : (parts << Words(text.text)).join(' ');
}

QString LabelOfText(const PageView& page, const ControlView& text) {
    for (const ControlView& label : page.controls)
        if (IsLabelOf(label, text))
            return Words(label.text);
    return {};
}

bool IsLabelOfText(const PageView& page, const ControlView& control) {
    return std::ranges::any_of(page.controls,
                               [&](const ControlView& text) { return IsLabelOf(control, text); });
}

const ControlView* WordlessControl(const PageView& page, const ControlView& text) {
    for (const ControlView* control : InteractiveControls(page))
        if (control->text.empty() && TextBeside(page, *control, true) == &text)
            return control;
    return nullptr;
}

QString DescriptionOf(const PageView& page, const ControlView& control) {
    const bool isPush = control.kind == ControlKind::PushButton;
    const ControlView* text = isPush ? TextBeside(page, control, true) : nullptr;
    return text ? Words(text->text) : QString();
}

} // namespace platform::desktop
