#include "net/fetcher.h"
