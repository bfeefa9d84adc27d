// The pictures of QNResources.dll by number: resources of the type "PNGPIC", 16 pixels wide below 144 dots an inch and 32
// from there. The drawings stand in pictures/NUMBER.svg, those of pictures twice as large in NUMBER.large.svg. In mark-up a
// picture is <IMG SRC=NUMBER>.
#pragma once

#include "Platform/types.h"

#include <cstddef>

inline constexpr WORD kPictureTask = 10; // done
inline constexpr WORD kPictureNote = 207;
inline constexpr WORD kPictureMeeting = 209;
inline constexpr WORD kPictureDuration = 213;
inline constexpr WORD kPictureSeveralCategories = 214;
inline constexpr WORD kPictureMailClosed = 218;
inline constexpr WORD kPictureAllDay = 219;
inline constexpr WORD kPictureJournal = 232;
inline constexpr WORD kPictureGoesOn = 233; // to another day
inline constexpr WORD kPictureBegan = 234;  // on another day
inline constexpr WORD kPictureAppointment = 237;
inline constexpr WORD kPictureMailOpen = 240;
inline constexpr WORD kPictureReminder = 241;
inline constexpr WORD kPictureRecurring = 242;
inline constexpr WORD kPictureRegenerating = 243;
inline constexpr WORD kPicturePrivate = 244;
inline constexpr WORD kPictureLinked = 245;
inline constexpr WORD kPictureQuickEntry = 246;
inline constexpr WORD kPictureTaskOpen = 247;
inline constexpr WORD kPictureDayPage = 248; // on light grounds and on bars
inline constexpr WORD kPictureWeekPage = 249;
inline constexpr WORD kPictureAgendaPage = 250;
inline constexpr WORD kPictureFilter = 251; // white, for bars, as the next two
inline constexpr WORD kPictureFilterOn = 252;
inline constexpr WORD kPictureMenu = 253;
inline constexpr WORD kPictureError = 254; // of message boxes: 32 and 64 pixels, as the next three
inline constexpr WORD kPictureQuestion = 255;
inline constexpr WORD kPictureWarning = 256;
inline constexpr WORD kPictureInformation = 257;
inline constexpr WORD kPictureSearch = 258; // on light grounds and on bars
inline constexpr WORD kPictureNoCategory = 260;
inline constexpr WORD kPictureFolder = 261;
inline constexpr WORD kPictureFolderOpen = 262;
inline constexpr WORD kPictureClosed = 263; // a branch of a tree
inline constexpr WORD kPictureOpen = 264;
inline constexpr WORD kPictureVoice = 267;
inline constexpr WORD kPictureContact = 293;
inline constexpr WORD kPictureScribble = 322;
inline constexpr WORD kPictureInk = 328;
inline constexpr WORD kPictureCallIn = 373;
inline constexpr WORD kPictureCallOut = 374;
inline constexpr WORD kPictureCallMissed = 375;
