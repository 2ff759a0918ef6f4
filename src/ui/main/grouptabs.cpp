#include "ui/main/grouptabs.h"

#include "ui/look/icons.h"

#include <QAbstractButton>
#include <QContextMenuEvent>
#include <QMouseEvent>

using namespace Qt::StringLiterals;

namespace {
constexpr int kMostTabs = 100; ///< a settings file says no more
}

GroupTabs::GroupTabs(QWidget *parent)
    : QTabBar(parent)
{
    setObjectName(u"groupTabs"_s);
    setAccessibleName(tr("Open groups"));
    setDocumentMode(true);
    setMovable(true);
    setExpanding(false);
    setElideMode(Qt::ElideRight);
    setUsesScrollButtons(true);
    setDrawBase(true);
    setFocusPolicy(Qt::TabFocus);
}

void GroupTabs::describe(int index, const QString &iconName, const QString &title, int unread)
{
    QString text = title;
    text.replace(u'&', u"&&"_s); // a name has no mnemonic
    if (tabText(index) != text)
        setTabText(index, text);
    setTabIcon(index, icon(iconName));
    setTabToolTip(index, unread > 0 ? tr("%1, %n unread", nullptr, unread).arg(title) : title);
}

void GroupTabs::tabInserted(int index)
{
    QTabBar::tabInserted(index);
    updateClosable();
}

void GroupTabs::tabRemoved(int index)
{
    QTabBar::tabRemoved(index);
    updateClosable();
}

/// The last one stays: there is always something to look at.
void GroupTabs::updateClosable()
{
    setTabsClosable(count() > 1);
    for (int i = 0; i < count(); ++i) {
        for (const ButtonPosition side : {LeftSide, RightSide}) {
            if (QWidget *button = tabButton(i, side))
                button->setAccessibleName(tr("Close tab"));
        }
    }
}

void GroupTabs::mouseReleaseEvent(QMouseEvent *event)
{
    const int index = tabAt(event->position().toPoint());
    if (event->button() == Qt::MiddleButton && index >= 0 && count() > 1)
        emit tabCloseRequested(index);
    else
        QTabBar::mouseReleaseEvent(event);
}

void GroupTabs::contextMenuEvent(QContextMenuEvent *event)
{
    const bool byMouse = event->reason() == QContextMenuEvent::Mouse;
    const int index = byMouse ? tabAt(event->pos()) : currentIndex();
    if (index >= 0)
        emit menuWanted(index, byMouse ? event->globalPos() : mapToGlobal(tabRect(index).bottomLeft()));
}

TabsText TabsText::fromText(const QString &text)
{
    TabsText tabs;
    for (const QString &part : text.split(u',', Qt::SkipEmptyParts)) {
        QStringView word = QStringView(part).trimmed();
        const bool isCurrent = word.startsWith(u'*');
        if (isCurrent)
            word = word.sliced(1);
        bool ok = false;
        const int place = word.toInt(&ok);
        if (!ok || place == 0 || tabs.places.contains(place) || tabs.places.size() >= kMostTabs)
            continue;
        if (isCurrent)
            tabs.current = int(tabs.places.size());
        tabs.places.append(place);
    }
    return tabs;
}

QString TabsText::toText() const
{
    QStringList words;
    for (qsizetype i = 0; i < places.size(); ++i)
        words.append((i == current ? u"*"_s : QString()) + QString::number(places[i]));
    return words.join(u',');
}
