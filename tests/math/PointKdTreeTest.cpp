#include "math/PointKdTree.h"
