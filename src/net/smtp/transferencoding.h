#pragma once

#include <QByteArray>

/// @p message ("\n" line ends) with the texts that a server would not take as they are in quoted-printable
/// (RFC 2045 6.7), the header fields of their parts with them: those that have bytes outside ASCII, unless
/// @p mayHaveEightBit, and those that have lines over 998 bytes. Enclosed messages are gone into; nothing
/// within multipart/signed and multipart/encrypted is touched (RFC 1847), nor what is encoded already.
QByteArray withFittingEncodings(const QByteArray &message, bool mayHaveEightBit);

/// The most bytes that a line of a message may have on its way (RFC 5321 4.5.3.1.6), without its end.
constexpr qsizetype kLongestMailLine = 998;
