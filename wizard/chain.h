// The wizard's one decision tree: the order of all pages, what each result means, every way out.
#pragma once

// Runs the whole chain on the main thread, within the creation of MainWindow, and closes
// MainWindow at its end if no step has done so.
void RunChain();
