#pragma once

#include <QByteArray>
#include <QString>

#include <functional>
#include <memory>

/// How the reader gets pictures from the net, and whom the user trusts with it. The reader asks for nothing
/// before the user or the sender's standing says so; which addresses are harmless, how much, how many and how
/// long is for who implements this.
class RemoteContent
{
public:
    virtual ~RemoteContent() = default;

    enum class Availability {
        Available,
        Disabled, ///< by the settings: the reader says so and offers nothing
        Offline,
    };
    virtual Availability availability() const = 0;

    /// @p sender is a bare address in lower case.
    virtual bool isTrusted(const QString &sender) const = 0;
    virtual void trust(const QString &sender) = 0;

    /// The pictures of one message for as long as it is shown. Destroying it cancels what is under way;
    /// nothing is called any more then.
    class Session
    {
    public:
        virtual ~Session() = default;

        /// The file of the picture, empty when there is none to be had. Called once, from the event loop and
        /// never from inside fetch(). It may destroy the session.
        using Done = std::function<void(const QByteArray &file)>;

        /// Asks for @p url, an http or https address as the message has it; each once in a session.
        virtual void fetch(const QString &url, Done done) = 0;
    };

    /// Never null.
    virtual std::unique_ptr<Session> open() = 0;
};
