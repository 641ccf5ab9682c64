#include "styles/CBevelTool.h"
#include "styles/CLayerStylesTool.h"
