// How long a step takes, in words: it depends on the link and on the language of the handheld.
#pragma once

enum class DurationFamily { BackupChoice, Backup, UpgradeReady, Progress };

// The catalog id of the text. `languageFolder` as in State, compared without regard to case; one
// that is empty or unknown counts as a language with a large image.
unsigned DurationText(DurationFamily family, bool serialLink, const char* languageFolder);
