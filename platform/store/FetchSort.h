#pragma once

#include "platform/store/ManagedObjectContext.h"
#include "platform/store/ManagedObjectModel.h"

namespace platform {

/// Sorts objects of one entity by one of its attributes; absent values come first when ascending.
/// Objects with equal values keep their order.
void sortByAttribute(
    ManagedObjectContext::Objects& objects, int attribute, AttributeType type, bool ascending);

} // namespace platform
