#pragma once

class IdentityManager;

/// Who writes in the invented mailbox of --demo: her two identities with signatures and taglines, and the
/// sample templates. False when something could not be written.
bool fillDemoWriter(IdentityManager &identities);
