#include "net/keyring/desktopkeyring.h"
