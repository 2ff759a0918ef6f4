#pragma once

#include "config/listfile.h"

#include <QObject>

#include <vector>

/// A label that a message can carry. Messages hold its bit, people see its name in the colour of its hue.
struct Tag
{
    int bit = 0; ///< of Overview::tags(), 0 to 31
    QString name;
    int hue = 0; ///< 0 to 359

    bool operator==(const Tag &) const = default;
};

/// The tags there are, in the order in which they are offered; the first nine have the keys 1 to 9. Kept in
/// the file "Tags".
///
/// The bit of a tag that is removed rests until no message carries it any more: else a new tag would be on
/// messages that nobody gave it to.
class Tags : public QObject
{
    Q_OBJECT

public:
    static constexpr int kBits = 32;
    static constexpr int kKeys = 9; ///< tags that have a key

    explicit Tags(QObject *parent = nullptr);

    /// Reads the list; the five that a new user finds where there is none.
    void load();

    /// Writes the list if it changed. False after a report.
    bool save();

    const std::vector<Tag> &all() const { return m_tags; }
    const Tag *tag(int bit) const;              ///< null when there is none
    const Tag *find(const QString &name) const; ///< null when there is none

    /// The tags of a message in their order, by Overview::tags(). Bits without a tag count for nothing.
    std::vector<Tag> of(quint32 bits) const;

    /// The bit of the tag with that key, from 1; 0 when there is none.
    quint32 bitOfKey(int key) const;

    /// Enters a tag behind the others and returns its bit; -1 when the name is empty or taken, or when no bit
    /// is free.
    int add(const QString &name, int hue);

    /// False: there is no such tag, or the name is empty or another's.
    bool rename(int bit, const QString &name);
    void setHue(int bit, int hue);
    void moveTo(int bit, int place); ///< its place in the order, from 0
    void remove(int bit);

    /// Bits of removed tags that messages may still carry.
    quint32 resting() const { return m_resting; }

    /// Nothing carries these bits any more: they can be given again.
    void release(quint32 bits);

signals:
    void changed();
    void removed(int bit);

private:
    Tag *get(int bit);
    bool isGoodName(const QString &name, int bit) const;
    void touch();

    ListFile m_file;
    std::vector<Tag> m_tags;
    quint32 m_resting = 0;
    bool m_changed = false;
};
