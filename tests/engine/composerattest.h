#pragma once

#include "engine/composer.h"
#include "engine/engine.h"
#include "identity/identitymanager.h"
#include "message/message.h"
#include "store/groupstore.h"

#include <functional>

using Kind = ComposeWish::Kind;

/// Two people's identities in one program: Ada's is the default one.
struct Program
{
    Program()
    {
        if (!engine.load())
            qFatal("the test cannot load the engine");
        Identity one;
        one.name = QStringLiteral("Ada");
        one.address = QStringLiteral("ada@example.org");
        ada = engine.identities().add(one);
        one.name = QStringLiteral("Ada at work");
        one.address = QStringLiteral("work@example.com");
        work = engine.identities().add(one);
    }
    ~Program() { engine.shutDown(); }

    Group &group(GroupRole role) { return *engine.groups().group(role); }

    MessageRef add(GroupRole role, const QByteArray &text, int account = 0)
    {
        return {group(role).number(), engine.groups().add(group(role), Message(text), {}, account, 1)};
    }

    Composer::Started start(ComposeWish::Kind kind, MessageRefs originals = {},
                            const std::function<void(ComposeWish &)> &change = {})
    {
        ComposeWish wish;
        wish.kind = kind;
        wish.originals = std::move(originals);
        if (change)
            change(wish);
        return composer.start(wish);
    }

    void change(int number, const std::function<void(Identity &)> &change)
    {
        Identity identity = *engine.identities().identity(number);
        change(identity);
        engine.identities().update(identity);
    }

    Engine engine;
    Composer &composer = engine.composer();
    int ada = 0;
    int work = 0;
};

inline Message textAt(Group &group, quint32 article)
{
    return Message(group.readMessage(*group.overview(article)));
}
