// ProgressRecord, what survives an upgrade that died: HKEY_CURRENT_USER, Software\FlashUtility.
//
// It says to the next start that an upgrade was under way, with which image, for which handheld and
// over which link, and whether only the bootloader can still take the image. It is written before
// the first byte goes out and deleted only when everything has. No registry failure is reported:
// a record that cannot be written means that an interrupted upgrade cannot be resumed.
//
// A page marks the record as critical, and a wizard that is killed, or whose PC loses its power,
// shows no page. So there is a note beside the record, a key of its own that is made during the
// transfer as soon as the mark would be due. It changes nothing of what the next run does: the
// flasher may still be listening, and is asked over the link of the record. Only where it does not
// answer the note chooses the page, which sends the user to the bootloader and marks the record.
// Without it every later run would talk to a flasher that is no longer there.
#pragma once

// Any thread, one at a time: the chain is blocked in ProgressPage while a transfer runs.
void WriteProgressRecord();  // everything but Critical, from State
void MarkCriticalFailure();  // Critical alone, creating the key if it has gone
void DeleteProgressRecord(); // the key with its values, and the note
void NoteHeldBackBlock();    // no more than the held-back block is left to send
bool HeldBackBlockNoted();   // by this transfer or by the one of the record
bool NoteClosedPort(); // the link did not open; true: nor did it in the run before. No note: false

// True if an upgrade is pending. Fills State as a side effect, whatever it finds pending or not.
bool ReadProgressRecord();
