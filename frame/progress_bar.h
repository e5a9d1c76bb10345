// The bar and the percentage of the page that runs, moved by its worker from the worker's thread.
// With no such page, or one that has gone, nothing happens.
#pragma once

#include <windows.h>

void ResetProgress(DWORD range);                // range of the bar; position and percentage 0
void AdvanceProgress(DWORD bytes, DWORD whole); // percentage = position * 100 / whole, rounded down
void ShowPercentage(DWORD percentage);
