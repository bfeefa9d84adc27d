#include "QNGridCtrl/CImageStreams.h"

#include "Platform/imaging.h"

HBITMAP CImageStreams::LoadImageStream(IStream* stream) {
    constexpr COLORREF kWhite = 0xFFFFFF;
    return PlatLoadImageStream(stream, kWhite);
}
