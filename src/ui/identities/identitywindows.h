#pragma once

#include "identity/identity.h"
#include "message/message.h"

class Engine;
class IdentitiesDialog;
class IdentityEditor;
class QWidget;
class TemplatesDialog;

/// Opens the windows of identities and templates over @p window; the one that is open already comes to the
/// front. All delete themselves; the engine must outlive them.

IdentitiesDialog *openIdentityManager(Engine &engine, QWidget *window);

/// Null when there is no identity of that number.
IdentityEditor *editIdentity(Engine &engine, int identity, QWidget *window);

/// The editor of an identity that OK enters, with @p proposed in its fields; with the signatures and taglines
/// of @p copied where that is a number. Nothing is saved before the user says so.
IdentityEditor *newIdentity(Engine &engine, const Identity &proposed, QWidget *window, int copied = 0);

/// @p current is the message that is open in the main window, for previews; empty: an example.
TemplatesDialog *openTemplateManager(Engine &engine, QWidget *window, const Message &current = Message());
