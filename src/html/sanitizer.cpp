#include "html/sanitizer.h"

#include "html/emitter.h"
#include "html/parsedhtml.h"
#include "html/prescan.h"
#include "html/stylesheet.h"
#include "html/tableplan.h"

namespace {

constexpr int kMostTables = 80;
constexpr int kMostCells = 2500;

} // namespace

SafeHtml sanitizeHtml(const QString &text, const HtmlOptions &options)
{
    const Prescan scanned = prescan(text, options.cap);
    const ParsedHtml parsed(scanned.html);
    const TablePlan plan(parsed.root(), kMostTables * options.effort(), kMostCells * options.effort());
    StyleSheet sheet(scanned.css);
    Emitter emitter(options, plan, sheet);
    walk(
        parsed.root(), [&](const GumboNode *node) { return emitter.enter(node); },
        [&](const GumboNode *node) { emitter.leave(node); });
    return emitter.finish(scanned);
}
