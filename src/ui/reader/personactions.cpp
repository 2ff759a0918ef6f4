#include "ui/reader/personactions.h"

#include "ui/look/icons.h"
#include "ui/reader/cardtexts.h"
#include "ui/texts/harmless.h"

#include <QApplication>
#include <QClipboard>
#include <QMenu>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLongestAddress = 1000;

/// Of a title in a menu, where "&" marks a key.
QString inMenu(QString text)
{
    return text.replace(u'&', u"&&"_s);
}

} // namespace

PersonActions::PersonActions(QObject *parent)
    : QObject(parent)
{}

void PersonActions::popup(const Address &person, QWidget *parent, const QPoint &globalPosition)
{
    const QString address = harmlessLine(person.address, kLongestAddress);
    if (address.isEmpty())
        return;
    auto *menu = new QMenu(parent);
    menu->setObjectName(u"personMenu"_s);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    const QString shown = shownPerson(person).name;
    if (const QString target = mailtoTarget(address); !target.isEmpty())
        menu->addAction(icon(u"compose"_s), tr("&Write to %1").arg(inMenu(harmlessLine(shown, 60))), this,
                        [this, target] { emit composeWanted(target); });
    menu->addAction(icon(u"search"_s), tr("&Find mail from this person"), this,
                    [this, address] { emit findFromWanted(address); });
    menu->addSeparator();
    menu->addAction(icon(u"copy"_s), tr("Copy &address"), this,
                    [address] { QApplication::clipboard()->setText(address); });
    menu->addAction(tr("Copy &name and address"), this, [name = harmlessLine(person.name, 200), address] {
        QApplication::clipboard()->setText(formatAddress({name, address}));
    });
    if (m_extension)
        m_extension(menu, person);
    menu->popup(globalPosition);
    menu->setActiveAction(menu->actions().constFirst());
}

QString personToolTip(const Address &person)
{
    const ShownPerson shown = shownPerson(person);
    if (shown.name == shown.address)
        return asToolTip(shown.address);
    return asToolTip(shown.name + u'\n' + shown.address);
}
