// The rows of the waiting pages: one text each, and no result, since their opener ends them.

#include "frame/waiting_pages.h"

#include "resources/resource.h"

namespace {

constexpr PageText BusyTexts[] = {{IDC_BUSY_TEXT, IDS_BUSY}};
constexpr PageText PrepareTexts[] = {{IDC_PREPARE_TEXT, IDS_PREPARING}};

} // namespace

constinit const Page BusyPage = {
    .dialog = IDD_BUSY, .texts = BusyTexts, .results = {}, .hasTitle = false};
constinit const Page PreparePage = {
    .dialog = IDD_PREPARE, .texts = PrepareTexts, .results = {}, .hasTitle = false};
