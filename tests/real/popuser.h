#pragma once

#include "cli/program.h"
#include "config/directory.h"
#include "servers/dovecot.h"
#include "store/groupstore.h"

/// Somebody with a mailbox on a real server, who fetches with the real program.
class PopUser : public Program
{
public:
    PopUser(Dovecot &server, const QString &name)
        : m_server(server)
        , m_name(name)
    {}

    QString name() const { return m_name; }

    /// Adds the account "Box"; in the clear on this machine where @p options do not say otherwise.
    Result addAccount(const QStringList &options = {}, const QByteArray &password = "secret")
    {
        QStringList words = {QStringLiteral("account"),         QStringLiteral("add"),
                             QStringLiteral("--kind"),          QStringLiteral("pop3"),
                             QStringLiteral("--name"),          QStringLiteral("Box"),
                             QStringLiteral("--user"),          m_name,
                             QStringLiteral("--password-file"), write(QStringLiteral("password"), password)};
        const auto unlessGiven = [&](const QString &option, const QString &value) {
            if (!options.contains(option))
                words << option << value;
        };
        const bool isTls = options.contains(QStringLiteral("tls"));
        unlessGiven(QStringLiteral("--host"), Dovecot::host());
        unlessGiven(QStringLiteral("--port"), QString::number(isTls ? m_server.tlsPort() : m_server.port()));
        unlessGiven(QStringLiteral("--tls"), QStringLiteral("none"));
        return run(words + options);
    }

    static QStringList fetchWords() { return {QStringLiteral("fetch"), QStringLiteral("Box")}; }
    Result fetch() { return json(fetchWords()); }

    void deliver(const std::vector<QByteArray> &texts) { m_server.deliver(m_name, texts); }
    QStringList left() const { return m_server.files(m_name); }

    /// The texts of all that is in the inbox, sorted, each as often as it is there.
    std::vector<QByteArray> texts() const
    {
        setConfigDirectory(config());
        setStoreAccess(StoreAccess::ReadOnly);
        std::vector<QByteArray> texts;
        {
            GroupStore store;
            if (!store.load())
                qFatal("the store cannot be opened");
            Group &inbox = *store.group(GroupRole::Inbox);
            for (int row = 0; row < inbox.rowCount(); ++row) {
                if (const auto overview = inbox.overview(inbox.row(row).article()))
                    texts.push_back(inbox.readMessage(*overview));
            }
        }
        setConfigDirectory({});
        std::sort(texts.begin(), texts.end());
        return texts;
    }

private:
    Dovecot &m_server;
    QString m_name;
};

/// Empty when the inbox of @p user holds exactly @p expected, each text without the line end that belongs to
/// the dot behind it; else what is wrong.
inline QByteArray differenceTo(const PopUser &user, std::vector<QByteArray> expected)
{
    for (QByteArray &text : expected)
        text.chop(1);
    std::sort(expected.begin(), expected.end());
    const std::vector<QByteArray> found = user.texts();
    if (found == expected)
        return {};
    std::vector<QByteArray> missing, more;
    std::set_difference(expected.begin(), expected.end(), found.begin(), found.end(),
                        std::back_inserter(missing));
    std::set_difference(found.begin(), found.end(), expected.begin(), expected.end(),
                        std::back_inserter(more));
    const auto first = [](const std::vector<QByteArray> &texts) {
        return texts.empty() ? QByteArray() : "; first: " + texts.front().left(400).replace('\0', "\\0");
    };
    return QByteArray::number(missing.size()) + " missing" + first(missing) + "\n" +
           QByteArray::number(more.size()) + " too many" + first(more);
}
