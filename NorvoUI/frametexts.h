// The words on the frames' own buttons: from the resources, in English without them.
#pragma once

#include "Platform/types.h"

#include <string>

enum EFrameText {
    FRAMETEXT_OK,
    FRAMETEXT_CANCEL,
    FRAMETEXT_ABORT,
    FRAMETEXT_RETRY,
    FRAMETEXT_IGNORE,
    FRAMETEXT_YES,
    FRAMETEXT_NO,
    FRAMETEXT_DONT_ASK
};
QN_API std::u16string FrameText(EFrameText text);
// Of a button by its ID number (IDOK ...).
QN_API std::u16string ButtonText(int id);
