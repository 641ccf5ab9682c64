#include "gradient/CGradientTool.h"
