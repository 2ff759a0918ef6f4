#include "ui/list/groupview.h"

#include <algorithm>
#include <numeric>

GroupView::GroupView()
{
    std::transform(kMessageColumns.begin(), kMessageColumns.end(), shown.begin(),
                   [](const MessageColumnRow &column) { return column.atFirst; });
    std::iota(order.begin(), order.end(), 0);
}
