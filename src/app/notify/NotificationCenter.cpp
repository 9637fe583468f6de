// Gives the interface its meta-object, which the build generates from the header.
#include "NotificationCenter.h"
