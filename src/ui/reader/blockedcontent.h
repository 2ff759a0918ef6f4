#pragma once

#include <QString>

struct BodyFacts;

/// "3 images and 2 trackers are not loaded."; empty when there are none.
QString blockedInWords(const BodyFacts &facts);

/// Who would have learned of it and what else is left out, for a tool tip: HTML with everything escaped.
QString blockedInDetail(const BodyFacts &facts);
