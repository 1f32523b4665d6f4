#include "controls/WayfarNSButton.h"
