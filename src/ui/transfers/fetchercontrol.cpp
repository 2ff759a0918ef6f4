#include "ui/transfers/fetchercontrol.h"
