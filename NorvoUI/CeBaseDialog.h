// The base of the suite's dialogs. Of it the library frame needs one flag that applications read.
#pragma once

#include "Platform/types.h"

class QN_API CeBaseDialog {
public:
    static int m_bSoftKeys; // dialogs use soft keys; settled by InitQNTools
};
