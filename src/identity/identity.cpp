#include "identity/identity.h"

using namespace Qt::StringLiterals;

QString Identity::display() const
{
    return name + u" <"_s + address + u'>';
}
