#include "identity/identity.h"

QString Identity::display() const
{
    return name + " <" + address + '>';
}
