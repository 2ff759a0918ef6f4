#include "net/socket/gsocket.h"
