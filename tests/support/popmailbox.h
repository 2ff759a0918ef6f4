#pragma once

#include <QHash>
#include <QTcpServer>
#include <QTcpSocket>

#include <algorithm>
#include <vector>

/// A mailbox that is served by POP3 in the clear (RFC 1939 with UIDL, TOP and PIPELINING), for tests of what
/// stands above the protocol. Messages that were deleted go at QUIT.
class PopMailbox : public QTcpServer
{
public:
    struct Mail
    {
        QByteArray identifier;
        QByteArray text; ///< "\n" line ends
        bool isDeleted = false;
    };

    PopMailbox()
    {
        if (!listen(QHostAddress::LocalHost))
            qFatal("the test cannot listen");
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket *socket = nextPendingConnection();
            ++sessions;
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { serve(*socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
            socket->write("+OK ready\r\n");
        });
    }

    std::vector<Mail> mails;
    QByteArray password = "secret";
    int sessions = 0;
    QByteArrayList said; ///< every command, without the login

private:
    void serve(QTcpSocket &socket)
    {
        while (socket.canReadLine()) {
            const QByteArrayList words = socket.readLine().trimmed().split(' ');
            if (words[0] != "USER" && words[0] != "PASS")
                said += words.join(' ');
            socket.write(reply(words));
            if (words[0] == "QUIT")
                socket.disconnectFromHost();
        }
    }

    QByteArray reply(const QByteArrayList &words)
    {
        const std::size_t at = std::size_t(words.value(1).toInt()) - 1;
        const bool isOfOne = at < mails.size();
        const QByteArray &word = words[0];
        if (word == "CAPA")
            return "+OK\r\nUSER\r\nUIDL\r\nTOP\r\nPIPELINING\r\n.\r\n";
        if (word == "PASS")
            return words.value(1) == password ? "+OK\r\n" : "-ERR wrong password\r\n";
        if (word == "STAT")
            return "+OK " + QByteArray::number(mails.size()) + " 1000\r\n";
        if (word == "UIDL" && words.size() == 1)
            return list([](const Mail &mail) { return mail.identifier; });
        if (word == "LIST" && words.size() == 1)
            return list([](const Mail &mail) { return QByteArray::number(onWire(mail.text).size()); });
        if (word == "LIST" && isOfOne)
            return "+OK " + words[1] + ' ' + QByteArray::number(onWire(mails[at].text).size()) + "\r\n";
        if (word == "TOP" && isOfOne)
            return "+OK\r\n" + onWire(mails[at].text.first(mails[at].text.indexOf("\n\n") + 2)) + ".\r\n";
        if (word == "RETR" && isOfOne)
            return "+OK\r\n" + onWire(mails[at].text) + ".\r\n";
        if (word == "DELE" && isOfOne)
            mails[at].isDeleted = true;
        if (word == "QUIT")
            std::erase_if(mails, [](const Mail &mail) { return mail.isDeleted; });
        return "+OK\r\n";
    }

    template <typename Said>
    QByteArray list(Said saidOf) const
    {
        QByteArray lines = "+OK\r\n";
        for (std::size_t i = 0; i < mails.size(); ++i)
            lines += QByteArray::number(i + 1) + ' ' + saidOf(mails[i]) + "\r\n";
        return lines + ".\r\n";
    }

    static QByteArray onWire(QByteArray text) { return text.replace("\n", "\r\n"); }
};
