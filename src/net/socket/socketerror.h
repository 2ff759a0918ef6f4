#pragma once

#include <QAbstractSocket>
#include <QString>

#include <optional>

/// Numbers of the errors of a socket, as the messages of the program know them. A number from 4 on is the
/// toolkit's own.
enum class SocketError { Refused, HostNotFound, Read, Tls };

/// When an error occurred: the toolkit has one number for what means something else later.
enum class SocketPhase { Connecting, Connected };

/// The number that stands for the toolkit's @p error. Empty: the other side went away, which is no error.
std::optional<int> socketErrorCode(QAbstractSocket::SocketError error, SocketPhase phase);

/// What a TLS socket says of an error of the connection below it.
QString socketErrorText(int code);
