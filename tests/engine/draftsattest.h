#pragma once

#include "config/clock.h"
#include "config/directory.h"
#include "engine/drafts.h"
#include "identity/identitymanager.h"
#include "message/message.h"
#include "store/groupstore.h"
#include "support/mail.h"
#include "support/scratch.h"

#include <QDir>

#include <set>

/// Everything that drafts need, as one run of the program has it.
struct Run
{
    /// @p held: the drafts of which the outbox says that it knows of them. Without @p repairsItself a damaged
    /// group waits. @p hasLetGo: the outbox has let go of what lies in it.
    explicit Run(std::set<int> held = {}, bool repairsItself = true, bool hasLetGo = false)
    {
        store.setRepairsItself(repairsItself);
        if (!store.load() || !identities.load())
            qFatal("the test cannot load the store");
        if (identities.all().empty()) {
            Identity ada;
            ada.name = QStringLiteral("Ada");
            ada.address = QStringLiteral("ada@example.org");
            identities.add(ada);
        }
        drafts.load();
        drafts.settleWithOutbox([&held](int draft) { return held.contains(draft); },
                                [hasLetGo](MessageRef) { return hasLetGo; });
    }
    ~Run()
    {
        if (!store.close() || !identities.save())
            qFatal("the test cannot save the store");
    }

    Group &group(GroupRole role = GroupRole::Drafts) { return *store.group(role); }

    Articles articles()
    {
        Articles alive;
        for (int row = 0; row < group().rowCount(); ++row) {
            if (!group().row(row).isDead())
                alive.push_back(group().row(row).article());
        }
        return alive;
    }

    Message message(quint32 article) { return Message(group().readMessage(*group().overview(article))); }

    MessageRef stored(int draft) { return drafts.context(draft).stored; }

    GroupStore store;
    IdentityManager identities;
    Drafts drafts{store, identities};
};

inline Composition saying(const QString &text)
{
    Composition composition;
    composition.identity.number = 1;
    composition.identity.name = QStringLiteral("Ada");
    composition.identity.address = QStringLiteral("ada@example.org");
    composition.to = QStringLiteral("bob@example.org");
    composition.subject = QStringLiteral("Lunch");
    composition.text = text;
    return composition;
}

inline QString directoryOf(int draft)
{
    return configPathOf(QStringLiteral("Drafts/%1").arg(draft));
}

inline QStringList attachmentFiles(int draft)
{
    return QDir(directoryOf(draft) + QStringLiteral("/Attachments")).entryList(QDir::Files);
}
