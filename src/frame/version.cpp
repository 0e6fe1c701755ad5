#include "frame/version.h"
