#include "QNNewEditUI/CDataMonth.h"

void CDataMonth::Init() {
    static_cast<SYSTEMTIME&>(*this) = {};
    for (int hour = 0; hour < kHours; ++hour)
        for (int half = 0; half < 2; ++half) {
            bHalfUsed[hour][half] = false;
            crHalf[hour][half] = 0;
            nHalfStatus[hour][half] = kNoStatus;
        }
    nCount = nTasks = 0;
    nFlags = kNoFlags;
    bHasAM = bHasPM = bHasBar = 0;
    FreeTime.assign(1, {0.0, 1.0});
}
