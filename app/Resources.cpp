#include "app/Resources.h"

#include <QtGlobal>

// The macro must stand outside of any namespace.
static void initResource()
{
    Q_INIT_RESOURCE(vellumcap);
}

namespace vellumcap {

void loadResources()
{
    initResource();
}

} // namespace vellumcap
