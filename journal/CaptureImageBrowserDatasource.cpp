#include "journal/CaptureImageBrowserDatasource.h"

namespace vellumcap {

CaptureImageBrowserDatasource::CaptureImageBrowserDatasource(CaptureList captures)
    : captureArray(std::move(captures))
{
}

int CaptureImageBrowserDatasource::numberOfItemsInImageBrowser() const
{
    return static_cast<int>(captureArray.size());
}

CaptureImageBrowserItem CaptureImageBrowserDatasource::itemAtIndex(int index) const
{
    return CaptureImageBrowserItem(captureArray.at(index));
}

} // namespace vellumcap
