#include "store/overview.h"

#include <libdeflate.h>

#include <cstring>

void Overview::setMark(Mark mark, bool on)
{
    const quint32 flags = word(Flags);
    setWord(Flags, on ? flags | quint32(mark) : flags & ~quint32(mark));
}

void Overview::setScore(int score)
{
    const quint32 bounded = quint16(qint16(qBound(-32768, score, 32767)));
    setWord(ScoreColour, (word(ScoreColour) & 0xffff0000) | bounded);
}

void Overview::setColour(int colour)
{
    setWord(ScoreColour, (word(ScoreColour) & 0xff00ffff) | quint32(colour & 0xff) << 16);
}

void Overview::setAccount(int account)
{
    setWord(AccountIdentity, (word(AccountIdentity) & 0xffff0000) | quint32(account & 0xffff));
}

void Overview::setIdentity(int identity)
{
    setWord(AccountIdentity, (word(AccountIdentity) & 0xffff) | quint32(identity & 0xffff) << 16);
}

void Overview::setCachePlace(quint32 position, quint32 length)
{
    setWord(CachePosition, position);
    setWord(CacheLength, length);
}

void Overview::setOrigin(quint32 group, quint32 article)
{
    setWord(OriginGroup, group);
    setWord(OriginArticle, article);
}

void Overview::setGone()
{
    setMark(Mark::Dead, true);
    setPosition(kNowhere);
    setStoredLength(0);
}

QByteArrayView Overview::binWords() const
{
    return {reinterpret_cast<const char *>(m_words.data()), kBinWords * 4};
}

Overview Overview::fromBinWords(QByteArrayView words)
{
    Overview overview;
    std::memcpy(overview.m_words.data(), words.data(), kBinWords * 4);
    return overview;
}

QByteArrayView Overview::bytes() const
{
    return {reinterpret_cast<const char *>(m_words.data()), sizeof m_words};
}

void Overview::seal()
{
    setWord(Check, check());
}

bool Overview::isIntact() const
{
    return version() == kVersion && word(Check) == check();
}

void Overview::setLongWord(int index, quint64 value)
{
    setWord(index, quint32(value));
    setWord(index + 1, quint32(value >> 32));
}

quint32 Overview::check() const
{
    return libdeflate_crc32(0, m_words.data(), Check * sizeof(quint32));
}

bool areStagesOfOne(const Overview &a, const Overview &b)
{
    return a.article() == b.article() && a.has(Mark::HeaderOnly) != b.has(Mark::HeaderOnly) &&
           a.idHash() == b.idHash() && a.arrival() == b.arrival();
}

quint64 identifierHash(QByteArrayView identifier)
{
    if (identifier.isEmpty())
        return 0;
    quint64 hash = 0xcbf29ce484222325;
    for (const char c : identifier)
        hash = (hash ^ uchar(c)) * 0x100000001b3;
    return hash ? hash : 1;
}
