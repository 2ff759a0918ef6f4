#pragma once

#include "compose/replies.h"

/// To whom an answer goes.
struct ReplyAddresses
{
    QList<Address> to;
    QList<Address> cc;
    QList<Address> bcc; ///< only of one's own message that went to nobody else
    QStringList groups;
    bool isOwnMessage = false;

    bool isEmpty() const { return to.isEmpty() && cc.isEmpty() && bcc.isEmpty() && groups.isEmpty(); }
    /// Whether nobody but one other person reads the answer.
    bool isPrivate() const
    {
        return !isOwnMessage && groups.isEmpty() && to.size() == 1 && cc.isEmpty() && bcc.isEmpty();
    }
};

/// @p own are the user's addresses, bare, in any case. Words in place of an address: "poster" and "always"
/// stand for the author, "never" and "nobody" for no one.
///
/// A "Reply-To" that is the address of the list itself does not count as the author's: a private answer is
/// not to become a public one. In "Followup-To", "poster", "never" and "nobody" keep an answer out of the
/// groups, it goes to the author; "always" sends the author a copy, as does "Mail-Copies-To".
ReplyAddresses replyAddresses(const Message &original, ReplyKind kind, const QStringList &own,
                              bool ownMessage);

/// The address of the list that @p message came through: "List-Post" (RFC 2369), else "X-BeenThere", else
/// "Mailing-List". Empty: it came through none, or one that nobody may post to.
QString listAddress(const Message &message);

/// The groups in a field such as Newsgroups or Followup-To; what can be no name of a group is left out.
QStringList groupsIn(const QString &field);
