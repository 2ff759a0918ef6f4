#pragma once

#include <QByteArrayView>
#include <QFlags>
#include <QtEndian>

#include <array>
#include <type_traits>

/// The marks of a message, the bits of overview word 1. A bit once written to disk is never used for anything
/// else.
enum class Mark : quint32 {
    Dead = 1u << 0, ///< deleted or moved away; the next compaction drops it
    Read = 1u << 1,
    Replied = 1u << 2,
    Forwarded = 1u << 3,
    Flagged = 1u << 4,
    Junk = 1u << 5,
    LearntJunk = 1u << 6, ///< the junk filter was trained with it as junk
    LearntGood = 1u << 7, ///< the junk filter was trained with it as good
    Attachments = 1u << 8,
    Watched = 1u << 9,
    Ignored = 1u << 10,
    HighImportance = 1u << 11,
    LowImportance = 1u << 12,
    Signed = 1u << 13,
    Encrypted = 1u << 14,
    List = 1u << 15, ///< came through a mailing list
    ReceiptWanted = 1u << 16,
    DateUnreadable = 1u << 17, ///< no date could be read; the date is that of the arrival
    HeaderOnly = 1u << 18,     ///< only the header is here; the text begins with a line of ServerPlace
    OldDead = 1u << 24,        ///< only read: means Dead in bins of an older form
    Compressed = 1u << 30,     ///< of the bin record: its data are compressed
};
Q_DECLARE_FLAGS(Marks, Mark)
Q_DECLARE_OPERATORS_FOR_FLAGS(Marks)

/// The marks that say what people, or the program for them, did with a message; the others follow from its
/// text or from how it is stored.
constexpr Marks kMarksOfUse = Marks(Mark::Read) | Mark::Replied | Mark::Forwarded | Mark::Flagged |
                              Mark::Junk | Mark::LearntJunk | Mark::LearntGood | Mark::Watched |
                              Mark::Ignored;

/// The summary of one message: a row of a group's overview file, and in its first twenty words the header of
/// the message's record in the bin. Everything that listing, sorting, counting and threading need is in here;
/// words are 32 bits, little-endian, so that a mapped file is an array of these.
class Overview
{
public:
    static constexpr int kWords = 28;
    static constexpr int kBinWords = 20;   ///< what a bin record copies
    static constexpr quint32 kVersion = 1; ///< of the words below, in word 0

    Overview() { setWord(Version, kVersion); }

    quint32 version() const { return word(Version); }
    Marks marks() const { return Marks(int(word(Flags))); }
    bool has(Mark mark) const { return (word(Flags) & quint32(mark)) != 0; }
    bool isDead() const { return has(Mark::Dead) || has(Mark::OldDead); }
    int bin() const { return int(word(Bin)); }
    quint32 position() const { return word(Position); }
    quint32 storedLength() const { return word(StoredLength); }
    quint32 unpackedLength() const { return word(UnpackedLength); } ///< bytes of the text that is here
    quint32 article() const { return word(Article); }               ///< its number in the group, from 1
    qint64 date() const { return qint64(longWord(Date)); }          ///< seconds since 1970 UTC
    qint64 arrival() const { return qint64(word(Arrival)); }        ///< the same, when it came into the store
    quint64 idHash() const { return longWord(IdHash); }             ///< of the Message-ID; 0 without one
    quint64 parentHash() const { return longWord(ParentHash); }     ///< of what it answers; 0 without
    quint64 rootHash() const { return longWord(RootHash); }         ///< of its first reference; 0 without
    int score() const { return qint16(word(ScoreColour) & 0xffff); }
    int colour() const { return int(word(ScoreColour) >> 16 & 0xff); }  ///< 0 is none
    int account() const { return int(word(AccountIdentity) & 0xffff); } ///< number; 0 is none
    int identity() const { return int(word(AccountIdentity) >> 16); }
    quint32 subjectHash() const
    {
        return word(SubjectHash);
    }                                                 ///< of the subject without reply marks; 0 if empty
    quint32 textCrc() const { return word(TextCrc); } ///< CRC-32 of the message text
    quint32 cachePosition() const { return word(CachePosition); } ///< in the header cache of its bin
    quint32 cacheLength() const { return word(CacheLength); }     ///< 0: nothing cached
    quint32 tags() const { return word(Tags); }
    quint32 originGroup() const { return word(OriginGroup); } ///< the group it was moved from; 0 is none
    quint32 originArticle() const { return word(OriginArticle); }

    /// The message's size in bytes, for people: where only the header is here, that of the whole on the
    /// server.
    quint32 size() const
    {
        return serverSize() > 0 ? quint32(qMin<qint64>(serverSize(), 0xffffffff)) : unpackedLength();
    }

    /// Of a message of which only the header is here: the bytes that the whole has on its server; else 0.
    qint64 serverSize() const { return has(Mark::HeaderOnly) ? qint64(longWord(OnServer)) : 0; }

    /// Of a message that is here whole: identifierHash() of the name that its server has for it; 0 when it
    /// has none, or when nobody knows any more.
    quint64 serverHash() const { return has(Mark::HeaderOnly) ? 0 : longWord(OnServer); }

    void setMark(Mark mark, bool on);
    void setMarks(Marks marks) { setWord(Flags, quint32(int(marks))); }
    void setBin(int bin) { setWord(Bin, quint32(bin)); }
    void setPosition(quint32 position) { setWord(Position, position); }
    void setStoredLength(quint32 length) { setWord(StoredLength, length); }
    void setUnpackedLength(quint32 length) { setWord(UnpackedLength, length); }
    void setArticle(quint32 article) { setWord(Article, article); }
    void setDate(qint64 seconds) { setLongWord(Date, quint64(seconds)); }
    void setArrival(qint64 seconds) { setWord(Arrival, quint32(qBound<qint64>(0, seconds, 0xffffffff))); }
    void setIdHash(quint64 hash) { setLongWord(IdHash, hash); }
    void setParentHash(quint64 hash) { setLongWord(ParentHash, hash); }
    void setRootHash(quint64 hash) { setLongWord(RootHash, hash); }
    void setScore(int score);
    void setColour(int colour);
    void setAccount(int account);
    void setIdentity(int identity);
    void setSubjectHash(quint32 hash) { setWord(SubjectHash, hash); }
    void setTextCrc(quint32 crc) { setWord(TextCrc, crc); }
    void setCachePlace(quint32 position, quint32 length);
    void setTags(quint32 tags) { setWord(Tags, tags); }
    void setOrigin(quint32 group, quint32 article);

    /// The one of serverSize() and serverHash() that the mark HeaderOnly asks for; set that first.
    void setServerSize(qint64 bytes) { setLongWord(OnServer, quint64(qMax<qint64>(0, bytes))); }
    void setServerHash(quint64 hash) { setLongWord(OnServer, hash); }

    /// A dead row whose record is no longer in any bin.
    bool isGone() const { return position() == kNowhere; }
    void setGone();

    /// The first twenty words as a bin record holds them.
    QByteArrayView binWords() const;

    /// An overview from the first twenty words of a bin record; @p words must hold 80 bytes. The rest is
    /// empty.
    static Overview fromBinWords(QByteArrayView words);

    /// The whole record as the overview file holds it, sealed.
    QByteArrayView bytes() const;

    /// Writes the check word over the others; every change to a record in the file ends with it.
    void seal();

    /// Whether the check word fits the others: a record that was torn or damaged does not.
    bool isIntact() const;

private:
    enum Word {
        Version,
        Flags,
        Bin,
        Position,
        StoredLength,
        UnpackedLength,
        Article,
        Date, // two words, low first
        Arrival = Date + 2,
        IdHash, // two words
        ParentHash = IdHash + 2,
        RootHash = ParentHash + 2,
        ScoreColour = RootHash + 2,
        AccountIdentity,
        SubjectHash,
        TextCrc, // the last that the bin holds
        CachePosition,
        CacheLength,
        Tags,
        OriginGroup,
        OriginArticle,
        OnServer, // two words
        Check = kWords - 1,
    };
    static_assert(TextCrc == kBinWords - 1);
    static constexpr quint32 kNowhere = 0xffffffff;

    static_assert(OnServer + 2 == Check);

    quint32 word(int index) const { return m_words[std::size_t(index)]; }
    void setWord(int index, quint32 value) { m_words[std::size_t(index)] = value; }
    quint64 longWord(int index) const { return word(index) | quint64(word(index + 1)) << 32; }
    void setLongWord(int index, quint64 value);
    quint32 check() const;

    std::array<quint32_le, kWords> m_words = {};
};

static_assert(sizeof(Overview) == Overview::kWords * 4);
static_assert(std::is_trivially_copyable_v<Overview>);

/// Whether two records of one group are the header of a message and the whole of it.
bool areStagesOfOne(const Overview &a, const Overview &b);

/// The 64-bit hash by which identifiers are known in overviews and in the index of Message-IDs (FNV-1a, never
/// 0 for a non-empty text). It lies on disk, so it never changes.
quint64 identifierHash(QByteArrayView identifier);
