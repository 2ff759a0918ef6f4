#pragma once

#include "identity/identitiesfile.h"
#include "identity/identity.h"

#include <QObject>

#include <functional>
#include <vector>

/// The identities of the program: owns the list, loads and saves it ("Identities/Index"). Exactly one is the
/// default as long as there is any.
class IdentityManager : public QObject
{
    Q_OBJECT

public:
    explicit IdentityManager(QObject *parent = nullptr);

    bool load(); ///< false after a report: there is a list, and it will be neither read nor written in this
                 ///< run
    bool save(); ///< what changed. False after a report.
    bool saveInPassing(); ///< the same; what failed, and was told, is tried again once it changes, or after
                          ///< five minutes
    bool isReadable() const { return m_isReadable; } ///< what load() said

    const std::vector<Identity> &all() const { return m_identities; }
    const Identity *identity(int number) const; ///< null when there is none; holds until the list changes
    const Identity *find(
        const QString &text) const;          ///< by number, name, address or display form, in any case
    const Identity *defaultIdentity() const; ///< null without identities

    /// The identity to answer a message with: the one that has the first of @p recipients (bare addresses)
    /// that is anyone's, else @p accounts (the number that the message's account names), else the default
    /// one; null without identities. Of several with that address @p accounts counts before the default one.
    const Identity *answering(const QStringList &recipients, int accounts) const;

    /// @name Changing the list. Each text becomes one line without control characters, whatever was typed.
    /// @{
    int add(Identity identity);            ///< its number; the first one becomes the default
    bool update(const Identity &identity); ///< false: there is none of that number
    void move(int number, int place);      ///< from 0
    void setDefault(int number);

    /// Takes it out; the next save() sets its folder aside under "Identities/Removed", from where it goes
    /// after 30 days. The first of the others becomes the default. False when there is none, or, after a
    /// report, when the guard refuses it.
    bool remove(int number);
    /// @}

    /// Who knows where identities are used: gives the name of a filter that names @p number, or "".
    using Guard = std::function<QString(int number)>;
    void setGuard(Guard guard) { m_guard = std::move(guard); }

signals:
    void changed(); ///< any identity, or their order

private:
    Identity *own(int number);
    void giveMissingNumbers();
    void settleDefault();
    void markChanged();

    std::vector<Identity> m_identities;
    IdentitiesFile m_file;
    Guard m_guard;
    std::vector<int> m_removed; ///< their folders are set aside once the list without them is saved
    int m_counter = 0;          ///< the highest number given so far
    bool m_isReadable = true;
    bool m_changed = false;
    qint64 m_restsUntil = 0; ///< what failed is left alone; seconds since 1970 UTC
};
