#pragma once

#include <QString>

#include <functional>

class Group;
class GroupStore;
class Overview;

/// One thing that a look over the store found.
struct Finding
{
    int group = 0; ///< number; 0: of the store as a whole
    QString what;  ///< one word or two: "overview", "text", "counts", "index", "bin"
    QString detail;
};

/// Compares everything with everything: overviews with their records and texts, counts with overviews, bins
/// with overviews, the index of Message-IDs with the live messages. Changes nothing.
class StoreCheck
{
public:
    /// @p found is called for each finding.
    StoreCheck(GroupStore &store, std::function<void(const Finding &)> found);

    /// Looks at one group. Reads all of its messages.
    void checkGroup(Group &group);

    /// Looks at the index.
    void checkIndex();

private:
    void tell(int group, const char *what, const QString &detail);
    void checkFile(Group &group);
    void checkOverviews(Group &group);
    void checkOverview(Group &group, const Overview &overview);
    void checkText(Group &group, const Overview &overview, const Overview &header);
    void checkBins(Group &group);
    void checkCounts(Group &group);

    GroupStore &m_store;
    std::function<void(const Finding &)> m_tell;
};
