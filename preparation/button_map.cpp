// What the buttons start, language by language. The buttons start links whose names and folder are
// localised, so a new language of the image means new commands and labels; the icons are the same
// everywhere. The keys carry no leading backslash. The third button's command is one program's link
// and its icon another's.

#include "preparation/button_map.h"

#include "device/remote_registry.h"
#include "state/state.h"

#include <string>

namespace {

constexpr int ButtonCount = 5;

struct ButtonRow {
    const char* language; // null: any other
    const char16_t* folder;
    const char16_t* links[ButtonCount];
    const char16_t* label;
};

constexpr ButtonRow ButtonTable[] = {
    {"CHT", u"AppButtons", {u"行事曆", u"連絡人", u"Zenda", u"Brisca", u"錄音"}, u"功能鍵"},
    {"CHS", u"AppButtons", {u"日程表", u"联系人", u"Zenda", u"Brisca", u"录音"}, u"按键"},
    {"JPN", u"AppButtons", {u"予定表", u"連絡先", u"ｾﾞﾝﾀﾞ", u"ﾌﾞﾘｽｶ", u"ﾎﾞｲｽ ﾚｺｰﾀﾞｰ"}, u"ﾎﾞﾀﾝ"},
    {"FRE",
     u"BoutonsApp",
     {u"Calendrier", u"Contacts", u"Zenda", u"Brisca", u"Enregistrement"},
     u"Bouton"},
    {"GER", u"AppButtons", {u"Kalender", u"Kontakte", u"Zenda", u"Brisca", u"Record"}, u"Taste"},
    {"ITA",
     u"PulsantiApp",
     {u"Calendario", u"Contatti", u"Zenda", u"Brisca", u"Voice Recorder"},
     u"Pulsante"},
    {"SPA",
     u"BotonesApl",
     {u"Calendario", u"Contactos", u"Zenda", u"Brisca", u"Grabadora"},
     u"Botón"},
    {nullptr, u"AppButtons", {u"Calendar", u"Contacts", u"Zenda", u"Brisca", u"Record"}, u"Button"},
};

constexpr const char16_t* Icons[ButtonCount] = {
    u"\\windows\\calendar.exe, 0", u"\\windows\\addrbook.exe, 0", u"\\windows\\Orlune.exe, 0",
    u"\\windows\\Brisca.exe, 0", u"\\windows\\Tavi3.exe, 0"};

const ButtonRow& RowOfImage() {
    const ButtonRow* row = ButtonTable;
    while (row->language && lstrcmpiA(State.Image.ImageLanguage, row->language) != 0)
        ++row;
    return *row;
}

void WriteButton(const ButtonRow& row, int button) {
    const char16_t digit = static_cast<char16_t>(u'1' + button);
    const std::u16string key = std::u16string(u"Software\\Microsoft\\Shell\\Keys\\40C") + digit;
    const std::u16string recorder = button == ButtonCount - 1 ? u" -b" : u"";
    const std::u16string command = std::u16string(u"\"\\Windows\\") + row.folder + u"\\" +
                                   row.links[button] + u".lnk\"" + recorder;
    SetDeviceText(key.c_str(), u"Default", command);
    SetDeviceText(key.c_str(), u"Name", std::u16string(row.label) + u" " + digit);
    SetDeviceText(key.c_str(), u"Icon", Icons[button]);
    SetDeviceText(key.c_str(), u"ResetCmd", command);
    SetDeviceNumber(key.c_str(), u"Flags", 0);
}

} // namespace

void WriteButtonMap() {
    const ButtonRow& row = RowOfImage();
    for (int button = 0; button < ButtonCount; ++button)
        WriteButton(row, button);
}
