#pragma once

#include "message/address.h"

#include <QString>
#include <QStringView>

/// Text from a message on its way into labels, names and menus, where it must not pretend to be anything
/// else.

/// @p text as one line: no control and direction characters, no piles of accents, at most @p most UTF-16
/// units with "…" behind what was cut. Words keep their own direction.
QString harmlessLine(QStringView text, qsizetype most = 1000);

/// @p text so that it is laid out by itself, whatever stands around it: an address from left to right, a name
/// in its own direction.
QString isolatedAddress(const QString &text);
QString isolatedName(const QString &text);

/// @p text without those marks where all of it runs from left to right: for a text that stands by itself in a
/// window that does, too.
/// Many fonts lack them, and a line with another font in it has another height.
QString withoutIdleMarks(QString text);

/// @p text as the tool tip of a widget: never taken for markup, its line ends kept.
QString asToolTip(const QString &text);

/// How a person is shown. The address is always shown in full besides the name.
struct ShownPerson
{
    QString name;    ///< harmless; the address when there is no name, or when it cannot be trusted
    QString address; ///< harmless
    QString claim;   ///< the other address that the name pretends to be; empty when it is honest
};

ShownPerson shownPerson(const Address &address);

/// The name alone, or the address without one; for lists of people.
QString shortPerson(const Address &address);
