#include "NorvoUI/CeBaseDialog.h"

int CeBaseDialog::m_bSoftKeys = 1;
