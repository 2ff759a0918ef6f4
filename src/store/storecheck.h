#pragma once

#include <QString>

#include <functional>

class Group;
class GroupStore;

/// One thing that a look over the store found.
struct Finding
{
    int group = 0; ///< number; 0: of the store as a whole
    QString what;  ///< one word or two: "overview", "text", "counts", "index", "bin"
    QString detail;
    bool repaired = false;
};

/// Compares everything with everything: overviews with their records and texts, counts with overviews, bins
/// with overviews, the index of Message-IDs with the live messages.
class StoreCheck
{
public:
    /// @p found is called for each finding, at once when it is known whether it could be repaired.
    StoreCheck(GroupStore &store, bool repair, std::function<void(const Finding &)> found);

    /// Looks at one group. Reads all of its messages.
    void checkGroup(Group &group);

    /// Looks at the index.
    void checkIndex();

    int found() const { return m_found; }
    int repaired() const { return m_repaired; }

private:
    void tell(int group, const char *what, const QString &detail, bool repaired);
    bool checkOverviews(Group &group);
    bool checkBins(Group &group);
    void checkCounts(Group &group);
    void repairGroup(Group &group);

    GroupStore &m_store;
    const bool m_repair;
    std::function<void(const Finding &)> m_tell;
    std::vector<Finding> m_pending; ///< of the group at hand, until it is known whether it could be repaired
    int m_found = 0;
    int m_repaired = 0;
};
