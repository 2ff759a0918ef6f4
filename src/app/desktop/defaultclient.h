#pragma once

#include "config/platform.h"

#include <QObject>

/// Offers to become the desktop's default mail client and, when newsgroups are in use, its default news
/// client. The questions come one at a time; whoever shows them returns to the event loop meanwhile.
class DefaultClient : public QObject
{
    Q_OBJECT

public:
    /// @p platform must outlive this object.
    explicit DefaultClient(Platform &platform, QObject *parent = nullptr);

    static constexpr const char *kMakeDefault = "&Make Default"; ///< the button that accepts
    static constexpr const char *kLeave = "&No";

    /// Begins. Nothing is asked when the configuration lies beside the program, for a kind whose question is
    /// switched off in the settings, where this program is the handler already, or where the desktop keeps no
    /// registry of handlers.
    void start(bool newsInUse, bool configBesideProgram);

    /// The answer to the question that was raised last. What cannot be registered is warned of and ends it.
    void answer(bool makeDefault);

signals:
    void questionRaised(const QString &text);

    /// Nothing more will be asked.
    void finished();

private:
    void next();

    Platform &m_platform;
    bool m_newsInUse = false;
    std::size_t m_at = 0; ///< the kind that comes next
};
