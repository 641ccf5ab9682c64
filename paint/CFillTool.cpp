#include "paint/CBrushTool.h"
#include "paint/CFillTool.h"
