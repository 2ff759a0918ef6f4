#pragma once

#include "compose/messagebuilder.h"
#include "message/headerblock.h"

#include <QMetaType>

#include <functional>

using Change = std::function<void(Composition &)>;
Q_DECLARE_METATYPE(Change)

inline Identity ada()
{
    Identity identity;
    identity.name = QStringLiteral("Ada Lovelace");
    identity.address = QStringLiteral("ada@example.org");
    return identity;
}

inline Composition mail()
{
    Composition composition;
    composition.identity = ada();
    composition.to = QStringLiteral("bob@example.net");
    composition.subject = QStringLiteral("Hello");
    composition.text = QStringLiteral("Hello Bob\n");
    return composition;
}

inline QByteArray headerOf(const QByteArray &message)
{
    return message.first(headerExtent(message).length);
}

inline QByteArray bodyOf(const QByteArray &message)
{
    return message.sliced(headerExtent(message).bodyOffset);
}

inline QByteArrayList namesIn(const QByteArray &message)
{
    const QByteArray header = headerOf(message);
    const HeaderFields fields(header);
    QByteArrayList names;
    for (qsizetype i = 0; i < fields.count(); ++i)
        names += fields.at(i).name.toByteArray();
    return names;
}

inline QByteArray valueIn(const QByteArray &message, const char *name)
{
    const QByteArray header = headerOf(message);
    return HeaderFields(header).value(name);
}
