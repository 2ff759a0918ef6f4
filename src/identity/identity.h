#pragma once

#include <QString>
#include <QStringList>

enum IdentityFlag : quint32 {
    IdentityDefault = 1u << 0,           ///< the one to write as where nothing says otherwise
    IdentityTagline = 1u << 1,           ///< a tagline is added at the end of a message
    IdentityStandardSeparator = 1u << 2, ///< "-- \n" stands between the text and the signature
};

/// A sender profile: who the user is when writing. Bits of @p flags that are not named here are kept.
struct Identity
{
    int number = 0; ///< fixed for its life; names its folder "Identities/<number>"; 0: not saved yet
    QString name;
    QString address; ///< bare
    QString replyTo; ///< an address list as for a header field; empty: none
    QString organisation;
    QString signature; ///< name of the default signature; empty: none
    QString hostName;  ///< for message identifiers; empty: the domain of the address
    QString keyId;     ///< the user ID that signs and decrypts
    quint32 flags = IdentityStandardSeparator;
    int sentMail = 0;   ///< number of the group for sent mail; 0: the group "Sent Mail"
    int sentNews = 0;   ///< the same for news
    QStringList others; ///< further fields of its line, kept as they are

    bool has(IdentityFlag flag) const { return (flags & flag) != 0; }
    void set(IdentityFlag flag, bool on) { flags = on ? flags | flag : flags & ~quint32(flag); }

    /// name + " <" + address + ">".
    QString display() const;

    bool operator==(const Identity &) const = default;
};
