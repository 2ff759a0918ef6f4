#include "ui/main/welcome.h"

#include "ui/look/card.h"
#include "ui/look/colours.h"
#include "ui/look/metrics.h"
#include "ui/look/recolour.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {
constexpr int kWidest = 92; ///< characters
}

Welcome::Welcome(QWidget *parent)
    : QWidget(parent)
{
    setObjectName(u"welcome"_s);
    setSurface(this, Role::Base);
    auto *title = new QLabel(tr("Welcome to Velmar"));
    setFontScale(title, scale::welcome, QFont::DemiBold);
    auto *sentence =
        new QLabel(tr("Your mail in one calm place. Everything stays in plain files on this computer."));
    sentence->setWordWrap(true);
    setFontScale(sentence, scale::title);
    setTextRole(sentence, Role::Text2);

    auto *account = new Card(u"mail"_s, tr("Set up a mail account"),
                             tr("Name, address and password; the servers are found for you."));
    auto *import = new Card(u"import"_s, tr("Bring your mail over"),
                            tr("Mailboxes (mbox), Maildir folders or single message files."));
    auto *batch = new Card(u"inbox"_s, tr("Read a mailbox on this computer"),
                           tr("Velmar takes new mail from a file that another program fills."));
    auto *look = new Card(u"play"_s, tr("Just look around"),
                          tr("An invented mailbox in a window of its own; nothing of yours is touched."));
    account->setFirst(true);
    account->setObjectName(u"welcomeAccount"_s);
    import->setObjectName(u"welcomeImport"_s);
    auto *hint = new QLabel(tr("All of this is in the menus File and Tools, too."));
    setFontScale(hint, scale::small);
    setTextRole(hint, Role::Text2);

    auto *column = new QVBoxLayout;
    column->setSpacing(space::group);
    column->addStretch(2);
    column->addWidget(title);
    column->addWidget(sentence);
    column->addSpacing(space::group);
    column->addWidget(account);
    column->addWidget(import);
    column->addWidget(batch);
    column->addWidget(look);
    column->addWidget(hint, 0, Qt::AlignTrailing);
    column->addStretch(3);
    auto *page = new QWidget;
    page->setLayout(column);
    page->setMaximumWidth(columnWidth(kWidest));
    auto *across = new QHBoxLayout(this);
    across->setContentsMargins(space::page, space::page, space::page, space::page);
    across->addStretch(1);
    across->addWidget(page, 20);
    across->addStretch(1);

    connect(account, &QAbstractButton::clicked, this, &Welcome::accountWanted);
    connect(import, &QAbstractButton::clicked, this, &Welcome::importWanted);
    connect(batch, &QAbstractButton::clicked, this, &Welcome::batchAccountWanted);
    connect(look, &QAbstractButton::clicked, this, &Welcome::lookAroundWanted);
    setFocusProxy(account);
}
