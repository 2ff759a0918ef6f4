#pragma once

#include <QCoreApplication>

#include <array>

/// The character sets that a reader may choose for a text that is labelled wrongly or not at all.
struct TextCharset
{
    const char *name;
    const char *text; ///< translated in the context "TextCharset"
};

constexpr std::array kTextCharsets = {
    TextCharset{"utf-8", QT_TRANSLATE_NOOP("TextCharset", "Unicode (UTF-8)")},
    TextCharset{"windows-1252", QT_TRANSLATE_NOOP("TextCharset", "Western European (Windows-1252)")},
    TextCharset{"iso-8859-15", QT_TRANSLATE_NOOP("TextCharset", "Western European (ISO-8859-15)")},
    TextCharset{"iso-8859-2", QT_TRANSLATE_NOOP("TextCharset", "Central European (ISO-8859-2)")},
    TextCharset{"windows-1250", QT_TRANSLATE_NOOP("TextCharset", "Central European (Windows-1250)")},
    TextCharset{"windows-1251", QT_TRANSLATE_NOOP("TextCharset", "Cyrillic (Windows-1251)")},
    TextCharset{"koi8-r", QT_TRANSLATE_NOOP("TextCharset", "Cyrillic (KOI8-R)")},
    TextCharset{"koi8-u", QT_TRANSLATE_NOOP("TextCharset", "Ukrainian (KOI8-U)")},
    TextCharset{"iso-8859-7", QT_TRANSLATE_NOOP("TextCharset", "Greek (ISO-8859-7)")},
    TextCharset{"windows-1254", QT_TRANSLATE_NOOP("TextCharset", "Turkish (Windows-1254)")},
    TextCharset{"windows-1255", QT_TRANSLATE_NOOP("TextCharset", "Hebrew (Windows-1255)")},
    TextCharset{"windows-1256", QT_TRANSLATE_NOOP("TextCharset", "Arabic (Windows-1256)")},
    TextCharset{"windows-1257", QT_TRANSLATE_NOOP("TextCharset", "Baltic (Windows-1257)")},
    TextCharset{"windows-874", QT_TRANSLATE_NOOP("TextCharset", "Thai (Windows-874)")},
    TextCharset{"windows-1258", QT_TRANSLATE_NOOP("TextCharset", "Vietnamese (Windows-1258)")},
    TextCharset{"gb18030", QT_TRANSLATE_NOOP("TextCharset", "Chinese, simplified (GB18030)")},
    TextCharset{"big5", QT_TRANSLATE_NOOP("TextCharset", "Chinese, traditional (Big5)")},
    TextCharset{"iso-2022-jp", QT_TRANSLATE_NOOP("TextCharset", "Japanese (ISO-2022-JP)")},
    TextCharset{"shift_jis", QT_TRANSLATE_NOOP("TextCharset", "Japanese (Shift_JIS)")},
    TextCharset{"euc-jp", QT_TRANSLATE_NOOP("TextCharset", "Japanese (EUC-JP)")},
    TextCharset{"euc-kr", QT_TRANSLATE_NOOP("TextCharset", "Korean (EUC-KR)")},
};
