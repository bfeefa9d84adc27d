// Pictures out of streams.
#pragma once

#include "NorvoTools/globals.h"
#include "Platform/stream.h"

class QN_API CImageStreams {
public:
    // The rest of the stream as a bitmap, transparent parts white; the caller's, null when it is no picture.
    static HBITMAP LoadImageStream(IStream* stream);
};
