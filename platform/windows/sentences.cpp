// The table of sentences.

#include "platform/windows/sentences.h"

#include <cstddef>
#include <iterator>

namespace platform {

namespace {

// A further language is a further column. The pages speak French alone.
struct Texts {
    Phrase phrase;
    const char* english;
    const char* french;
};

constexpr Texts Table[] = {
    // Choices.
    {Phrase::Enter, "Enter", "Entrée"},
    {Phrase::EnterTwice, "Enter twice", "Entrée deux fois"},
    {Phrase::NotAvailable, "not available now", "pas disponible pour l'instant"},
    {Phrase::HowToChoose, "Type the letters in brackets, then Enter.",
     "Tapez les lettres entre crochets, puis Entrée."},
    {Phrase::Taken, "taken: ", "Choisi : "},
    {Phrase::PageLeft, "the page is left", "Page quittée."},
    {Phrase::EndOfInput, "end of input", "Fin de la saisie : la page est quittée."},
    {Phrase::NotUnderstood, "not understood: ", "Pas compris : "},
    {Phrase::SeveralMeant, "several choices: ", "Plusieurs choix possibles : "},
    {Phrase::EnterMayEnd, "Enter alone may end the run.",
     "Entrée seule peut mettre fin à l'utilitaire. Encore une fois Entrée pour confirmer, sinon "
     "tapez un choix."},
    {Phrase::EnterCancels, "Enter alone cancels: ",
     "Entrée seule prend le choix qui peut mettre fin à l'utilitaire. "
     "Encore une fois Entrée pour confirmer : "},
    {Phrase::MisplacedNumber,
     "The number of a choice that is not the one in this place. Once more to confirm: ",
     "Ce numéro est celui d'un choix qui n'est pas à cette place dans la liste. Encore une fois "
     "pour confirmer : "},
    // Progress.
    {Phrase::TimeLeft, "left: ", "encore "},
    // Files.
    {Phrase::OpenWhich, "Which file is to be opened?", "Quel fichier faut-il ouvrir ?"},
    {Phrase::SaveAs, "Save under which name?", "Sous quel nom faut-il enregistrer ?"},
    {Phrase::Filters, "Files: ", "Fichiers : "},
    {Phrase::Proposed, "proposed: ", "Proposé (Entrée seule l'accepte) : "},
    {Phrase::TabCompletes, "Tab completes a name; esc cancels.",
     "Tab complète un nom. « esc » annule et revient aux choix."},
    {Phrase::EscCancels, "esc cancels.", "« esc » annule et revient aux choix."},
    {Phrase::Cancelled, "cancelled", "Annulé : aucun fichier n'a été choisi."},
    {Phrase::UnusableLetters, "the name has letters that cannot be used here: ",
     "Ce nom contient des lettres inutilisables ici : "},
    {Phrase::NameTooLong, "the name is too long", "Ce nom est trop long."},
    {Phrase::NoSuchDrive, "there is no such drive: ", "Ce lecteur n'existe pas : "},
    {Phrase::IsFolder, "this is a folder, not a file: ", "C'est un dossier, pas un fichier : "},
    {Phrase::NoSuchFolder, "there is no such folder: ", "Ce dossier n'existe pas : "},
    {Phrase::NoSuchFile, "there is no such file: ", "Ce fichier n'existe pas : "},
    // Ports.
    {Phrase::PortRefused,
     "permission denied; join the group in brackets (adduser) and log in again: ",
     "Accès refusé ; entrez dans le groupe entre parenthèses (adduser), puis ouvrez une nouvelle "
     "session : "},
    // For whoever does not see colours.
    {Phrase::Attention, "Attention:", "Attention :"},
    // Signals.
    {Phrase::NotBrokenOff, "not broken off: this must not be interrupted. It goes on; please wait.",
     "Pas interrompu : l'opération ne doit pas l'être. Elle continue ; veuillez patienter."},
};

constexpr bool IsInOrder() {
    for (std::size_t index = 0; index < std::size(Table); ++index)
        if (Table[index].phrase != static_cast<Phrase>(index))
            return false;
    return std::size(Table) == static_cast<std::size_t>(Phrase::NotBrokenOff) + 1;
}
static_assert(IsInOrder());

const Texts& TextsOf(const Sentence& sentence) {
    return Table[static_cast<std::size_t>(sentence.phrase)];
}

} // namespace

std::string InEnglish(const Sentence& sentence) {
    return TextsOf(sentence).english + sentence.value;
}

std::string InLanguageOfPages(const Sentence& sentence) {
    return TextsOf(sentence).french + sentence.value;
}

} // namespace platform
