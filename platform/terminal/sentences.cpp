// The table of sentences, by their English form, which is what a script reads.

#include "platform/terminal/sentences.h"

namespace platform {

namespace {

// A further language is a further column. The pages speak French alone.
struct Sentence {
    const char* english; // or its beginning, up to a value that follows
    const char* french;
};

constexpr Sentence Sentences[] = {
    // Choices.
    {"Enter", "Entrée"},
    {"Enter twice", "Entrée deux fois"},
    {"not available now", "pas disponible pour l'instant"},
    {"Type the letters in brackets, then Enter.", "Tapez les lettres entre crochets, puis Entrée."},
    {"taken: ", "Choisi : "},
    {"the page is left", "Page quittée."},
    {"end of input", "Fin de la saisie : la page est quittée."},
    {"not understood: ", "Pas compris : "},
    {"several choices: ", "Plusieurs choix possibles : "},
    {"Enter alone may end the run.",
     "Entrée seule peut mettre fin à l'utilitaire. Encore une fois Entrée pour confirmer, sinon "
     "tapez un choix."},
    {"Enter alone cancels: ", "Entrée seule prend le choix qui peut mettre fin à l'utilitaire. "
                              "Encore une fois Entrée pour confirmer : "},
    {"The number of a choice that is not the one in this place. Once more to confirm: ",
     "Ce numéro est celui d'un choix qui n'est pas à cette place dans la liste. Encore une fois "
     "pour confirmer : "},
    // Progress.
    {"left: ", "encore "},
    // Files.
    {"Which file is to be opened?", "Quel fichier faut-il ouvrir ?"},
    {"Save under which name?", "Sous quel nom faut-il enregistrer ?"},
    {"Files: ", "Fichiers : "},
    {"proposed: ", "Proposé (Entrée seule l'accepte) : "},
    {"Tab completes a name; esc cancels.",
     "Tab complète un nom. « esc » annule et revient aux choix."},
    {"esc cancels.", "« esc » annule et revient aux choix."},
    {"cancelled", "Annulé : aucun fichier n'a été choisi."},
    {"the name has letters that cannot be used here: ",
     "Ce nom contient des lettres inutilisables ici : "},
    {"the name is too long", "Ce nom est trop long."},
    {"there is no such drive: ", "Ce lecteur n'existe pas : "},
    {"this is a folder, not a file: ", "C'est un dossier, pas un fichier : "},
    {"there is no such folder: ", "Ce dossier n'existe pas : "},
    {"there is no such file: ", "Ce fichier n'existe pas : "},
    // Signals.
    {"not broken off: this must not be interrupted. It goes on; please wait.",
     "Pas interrompu : l'opération ne doit pas l'être. Elle continue ; veuillez patienter."},
};

} // namespace

std::string Translated(const std::string& sentence) {
    for (const Sentence& known : Sentences) {
        const std::string english = known.english;
        const bool hasValue = english.ends_with(": ");
        if (sentence == english || (hasValue && sentence.starts_with(english)))
            return known.french + sentence.substr(english.size());
    }
    return sentence;
}

} // namespace platform
