// What a person takes for one character, and where each stands in a row that goes both ways.
#pragma once

#include <string_view>
#include <vector>

namespace plat {

// The nearest place at or before a position, or at or behind it, that parts no character: letters keep their marks, pairs
// of units and CR LF stay together. Positions are bounded.
int CharacterStart(std::u16string_view text, int position);
int CharacterEnd(std::u16string_view text, int position);
// For each unit whether a character begins with it.
std::vector<bool> CharacterStarts(std::u16string_view text);

// Does it begin from the right, by its first letter?
bool BeginsFromRight(std::u16string_view text);
// Of each unit of a row, whose units have these widths: its left, as the row is painted, and whether it is written from the
// right.
void PlaceUnits(std::u16string_view row, const int* widths, int* lefts, char* fromRight);

} // namespace plat
