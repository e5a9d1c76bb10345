// What the five hardware buttons of the handheld start.
#pragma once

// Rewrites the five keys for the language of the image, 25 values, best effort.
void WriteButtonMap();
