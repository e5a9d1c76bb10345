// What the layer says by itself, beside the texts of the pages.
#pragma once

#include <string>

namespace platform {

// In the order of the table in sentences.cpp.
enum class Phrase {
    // Choices.
    Enter,
    EnterTwice,
    NotAvailable,
    HowToChoose,
    Taken, // what was
    PageLeft,
    EndOfInput,
    NotUnderstood, // the line
    SeveralMeant,  // those that are
    EnterMayEnd,
    EnterCancels,    // the choice that it takes
    MisplacedNumber, // the choice that it is of
    // Progress.
    TimeLeft, // the time with its unit
    // Files.
    OpenWhich,
    SaveAs,
    Filters,  // their names
    Proposed, // a name
    TabCompletes,
    EscCancels,
    Cancelled,
    UnusableLetters, // the path
    NameTooLong,
    NoSuchDrive,  // the path
    IsFolder,     // the path
    NoSuchFolder, // the path
    NoSuchFile,   // the path
    // Ports.
    PortRefused, // its tty, and the group
    // For whoever does not see colours.
    Attention,
    // Signals.
    NotBrokenOff,
};

struct Sentence {
    Phrase phrase;
    std::string value = {}; // UTF-8, ends the sentence; of a phrase that has none, empty
};

// UTF-8. English is what scripts read, and does not change.
std::string InEnglish(const Sentence& sentence);
std::string InLanguageOfPages(const Sentence& sentence);

} // namespace platform
