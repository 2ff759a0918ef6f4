#include "net/pop3/popfetcher.h"
