#pragma once

#include "journal/CaptureImageBrowserItem.h"

namespace vellumcap {

/// All captures in one flat list, for a picture browser.
class CaptureImageBrowserDatasource {
public:
    explicit CaptureImageBrowserDatasource(CaptureList captures);

    CaptureList captureArray;

    int numberOfItemsInImageBrowser() const;
    CaptureImageBrowserItem itemAtIndex(int index) const; ///< a new item at every call
};

} // namespace vellumcap
