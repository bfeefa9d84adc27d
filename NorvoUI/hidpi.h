// Screen metrics and what follows from them: the scale of fonts, the suite's fonts by points, the colours of tabs and
// bars. Main thread; the values themselves stand in NorvoTools/globals.h.
#pragma once

#include "Platform/types.h"

// Pixels for what is `pixels` wide at 96 dots an inch.
constexpr int ScalePx(DWORD dotsPerInch, int pixels) {
    return (static_cast<int>(dotsPerInch) * pixels + 48) / 96;
}

// Chinese, Japanese and Korean, as languages of the device, have no bold text: it is hard to read. Looked up once.
bool LanguageHasBold();

extern "C" {
// Reads the screen once; later calls do nothing.
QN_API void HIDPI_InitScaling();

// A font of so many points at the screen's dots per inch; weight 400 is normal, 700 bold, escapement tenths of a degree.
// Not bold where LanguageHasBold says so. The caller ends it with DeleteObject.
QN_API HFONT CreateFontPoint(const WCHAR* face, int points, int weight, BYTE italic, BYTE underline,
                             BYTE quality, int escapement);

// Takes the colours of tabs and bars from the settings; without bForce only when none is set yet.
QN_API void InitLabelColors(bool bForce);
}
