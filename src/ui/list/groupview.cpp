#include "ui/list/groupview.h"

#include <algorithm>

GroupView::GroupView()
{
    std::transform(kMessageColumns.begin(), kMessageColumns.end(), shown.begin(),
                   [](const MessageColumnRow &column) { return column.atFirst; });
}
