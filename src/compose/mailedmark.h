#pragma once

/// What stands in front of the mailed form of an article, in its text and in its HTML.
constexpr char kMailedMark[] = "[Posted and mailed]\n\n";
constexpr char kMailedParagraph[] = "<p>[Posted and mailed]</p>\n";
