// Notes as bytes: which of four forms a note has, and the text in it.
//
// Texts by bytes and by UTF-16 are read here. Rich text and ink are the business of the window layer, which registers its
// reader while static objects are made: the joint between the object model, which gives a note as text, and the ink
// document. Any thread may call anything here.
#pragma once

#include "Platform/types.h"

#include <string>

#pragma GCC visibility push(default)

inline constexpr UINT kNoteBytes = 1; // text in the code page
inline constexpr UINT kNoteRich = 2;
inline constexpr UINT kNoteWide = 17;      // UTF-16
inline constexpr UINT kNoteByContent = 99; // on the way in: whatever GetBlobFormat says
inline constexpr UINT kNoteInk = 67586;

// A note of this size counts as empty wherever a list looks at its size: the empty note of the ink form has it.
inline constexpr DWORD kEmptyInkNote = 476;

// The form by the first bytes, one of the four.
UINT GetBlobFormat(const BYTE* bytes, DWORD length);

// The text of a note of a form, up to its first zero. False for rich text or ink that nobody can read, and for an unknown
// form.
bool PlatTextOfNote(const BYTE* bytes, DWORD length, std::u16string& text, UINT format = kNoteByContent);

// Reads rich text and ink; false for bytes that are neither.
using PlatNoteReader = bool (*)(const BYTE* bytes, DWORD length, std::u16string& text);
void PlatSetNoteReader(PlatNoteReader reader);

#pragma GCC visibility pop
