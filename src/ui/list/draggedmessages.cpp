#include "ui/list/draggedmessages.h"

#include <QDataStream>
#include <QIODevice>

QByteArray encodeDragged(const MessageRefs &messages)
{
    QByteArray bytes;
    QDataStream stream(&bytes, QIODevice::WriteOnly);
    stream << quint32(messages.size());
    for (const MessageRef message : messages)
        stream << qint32(message.group) << message.article;
    return bytes;
}

MessageRefs decodeDragged(const QByteArray &bytes)
{
    QDataStream stream(bytes);
    quint32 count = 0;
    stream >> count;
    MessageRefs messages;
    for (quint32 i = 0; i < count; ++i) {
        qint32 group = 0;
        quint32 article = 0;
        stream >> group >> article;
        if (stream.status() != QDataStream::Ok)
            return {};
        messages.push_back({group, article});
    }
    return messages;
}
