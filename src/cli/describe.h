#pragma once

#include "cli/output.h"

class Group;
class GroupStore;
class Message;
class Overview;

/// Results as the command line shows them.

/// A message: its header and its parts. @p file names where it came from.
Row describeMessage(const Message &message, const QString &file);

/// A message of a group as a row of a list.
Row describeRow(Group &group, const Overview &overview);

Row describeGroup(const GroupStore &store, Group &group);

/// What a person reads of the message: its texts, those in HTML as plain text.
QString readableBody(const Message &message);
