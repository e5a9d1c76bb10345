// What an upgrade changes on the handheld beside its flash.
#pragma once

// Brings menu setting, registry, buttons and links to the layout and the language of the image in
// State. Best effort and silent: a step that fails leaves the device as far as it got, and the next
// one runs. What is changed stays changed.
void ChangeDevice();
