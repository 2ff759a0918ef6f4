#pragma once

#include "net/discovery/discoverynetwork.h"
#include "net/discovery/domains.h"
#include "net/discovery/servicerecords.h"
#include "net/discovery/usualnames.h"

#include <QObject>
#include <QTimer>

#include <array>
#include <memory>
#include <optional>

/// One of the places that are asked, as a person sees it.
struct DiscoveryStep
{
    enum class State { Waiting, Asking, Found, Nothing, Stopped, NotNeeded };

    State state = State::Waiting;
    QString text;   ///< what is asked: "List of large providers"
    QString detail; ///< what came of it, once it is known
};

/// Finds the servers of a mail address: in the list of large providers, else in what the domain publishes
/// (settings over https, service records), else by who receives its mail, else under the usual names. Whoever
/// is asked is asked by the domain; only the domain itself is told the address. It takes ten seconds at most,
/// and nothing that it finds offers less than TLS.
class ServerDiscovery : public QObject
{
    Q_OBJECT

public:
    struct Limits
    {
        int askingMilliseconds = 5'000; ///< for all that is asked before the usual names are tried
        int wholeMilliseconds = 10'000;
    };

    /// @p network must outlive this.
    explicit ServerDiscovery(DiscoveryNetwork &network, QObject *parent = nullptr);
    ~ServerDiscovery() override;

    void setLimits(const Limits &limits) { m_limits = limits; }

    /// Begins anew. A server of the first protocol in @p wanted is what the search ends with. False: @p
    /// address is none, and nothing happens.
    bool start(const QString &address, const QList<MailProtocol> &wanted);

    /// Ends the search with what is known by then; finished() comes from within.
    void stop();

    bool isRunning() const { return m_run != nullptr; }
    const MailIdentity &identity() const { return m_who; }

    /// By SettingsSource.
    const std::array<DiscoveryStep, kSettingsSources> &steps() const { return m_steps; }

    /// What was found, the most trustworthy first; entries without a server that is wanted say why, or what
    /// there is instead.
    std::vector<MailSettings> found() const;

    /// The one to take: the first of found() with a server that is wanted; nothing when there is none.
    std::optional<MailSettings> best() const;

    /// Whether the domain says that it does not offer @p protocol.
    bool declines(MailProtocol protocol) const { return m_records && m_records->declines(protocol); }

signals:
    void stepChanged(SettingsSource source);
    void finished(); ///< once after each start(), never from within it

private:
    using Step = DiscoveryStep::State;

    void nameSteps();
    void askTheList();
    void askTheDomain();
    void askForFile(SettingsSource source, const QUrl &url);
    void fileCame(SettingsSource source, const QString &host, const QByteArray &bytes,
                  const QString &problem);
    void askForRecords();
    void recordsCame();
    void askForExchange();
    void exchangesCame(const QStringList &hosts);
    void tryUsualNames();
    void probeCame(bool isLast);
    void takeUsualNames();

    /// @p answer, for as long as the search that asked goes on.
    template <typename Answer>
    auto whileAsked(Answer answer)
    {
        return [this, run = m_run.get(), answer](const auto &...values) {
            if (m_run.get() == run)
                answer(values...);
        };
    }

    void setStep(SettingsSource source, Step state, const QString &detail = {});
    void settle(SettingsSource source, Step state, const QString &detail,
                const std::optional<MailSettings> &settings = std::nullopt);
    void decide();
    void askingIsOver();
    void finish(Step rest, const QString &detail);
    bool isOpen(SettingsSource source) const;
    bool isUsable(SettingsSource source) const;
    bool endsHere() const;
    MailProtocol wanted() const { return m_wanted.first(); }

    DiscoveryNetwork &m_network;
    Limits m_limits;
    MailIdentity m_who;
    QList<MailProtocol> m_wanted;
    std::array<DiscoveryStep, kSettingsSources> m_steps;
    std::array<std::optional<MailSettings>, kSettingsSources> m_found;
    std::unique_ptr<QObject> m_run; ///< while it runs; with it goes all that is under way
    std::optional<ServiceRecords> m_records;
    std::optional<UsualNames> m_usual;
    QStringList m_exchanges;
    QTimer m_asking;
    QTimer m_whole;
};
