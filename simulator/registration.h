// What a connection manager registers on the PC and opens there: the names that the wizard looks
// for.
#pragma once

namespace registration {

// Below HKEY_LOCAL_MACHINE. In the first are MajorVersion, MinorVersion and SerialPort; the default
// value of the second is the path of the program.
constexpr char SettingsKey[] = "SOFTWARE\\Microsoft\\Windows CE Services";
constexpr char ProgramKey[] =
    "SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\App Paths\\WCESCOMM.EXE";

constexpr unsigned MajorVersion = 3, MinorVersion = 5;
constexpr char SerialPort[] = "COM1";
constexpr char SerialPortPath[] = "\\\\.\\COM1";

constexpr char WindowClass[] = "ConnectionManager";
constexpr const char* WindowTitles[] = {"DccMan", "WCES Manager Thunk Window"};

} // namespace registration
