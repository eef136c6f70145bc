#include "agentfw/ras1.h"

const RAS1_BuildInfo ras1BuildInfo{ZEL_VERSION, __DATE__, __TIME__};
