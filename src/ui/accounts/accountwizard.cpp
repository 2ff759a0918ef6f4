#include "ui/accounts/accountwizard.h"
