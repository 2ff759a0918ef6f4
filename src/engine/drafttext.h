#pragma once

#include "compose/composition.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

/// A message being written as the lines of a draft's journal: "key value", the value escaped (listtext.h).
/// Attachments are named by the keys under which their bytes are kept.

QByteArray draftText(const Composition &composition, const QList<QByteArray> &contents);

struct DraftText
{
    Composition composition;    ///< its attachments without their bytes
    QList<QByteArray> contents; ///< the keys of those, in their order
};

/// The reverse; lines of unknown keys are passed over, fields that are missing keep their defaults.
DraftText readDraftText(QByteArrayView text);
