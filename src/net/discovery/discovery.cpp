#include "net/discovery/discovery.h"
