#pragma once

#include "config/listfile.h"
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

    void load();
    bool save(); ///< what changed. False after a report.

    const std::vector<Identity> &all() const { return m_identities; }
    const Identity *identity(int number) const; ///< null when there is none; holds until the list changes
    const Identity *find(
        const QString &text) const;          ///< by number, name, address or display form, in any case
    const Identity *defaultIdentity() const; ///< null without identities

    /// The identity to answer a message with: the first whose address is among @p recipients (bare
    /// addresses, in their order), else @p accounts (the number that the message's account names), else the
    /// default one; null without identities.
    const Identity *answering(const QStringList &recipients, int accounts) const;

    int add(Identity identity);            ///< its number; the first one becomes the default
    bool update(const Identity &identity); ///< false: there is none of that number
    bool remove(int number);               ///< false, after a report, when a guard refuses it
    void move(int number, int place);
    void setDefault(int number);

    /// Who knows where identities are used: gives the name of a filter that names @p number, or "".
    using Guard = std::function<QString(int number)>;
    void setGuard(Guard guard) { m_guard = std::move(guard); }

signals:
    void changed(); ///< any identity, or their order

private:
    std::vector<Identity> m_identities;
    ListFile m_file;
    Guard m_guard;
    int m_counter = 0;
    bool m_changed = false;
};
