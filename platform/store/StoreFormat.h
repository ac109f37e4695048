#pragma once

#include <QByteArray>

namespace platform {

class ManagedObject;
class ManagedObjectModel;

/// The format of a store file:
///
///     <?xml version="1.0" encoding="UTF-8"?>
///     <store format="1" model="Name" modelVersion="1" nextId="3">
///     <object entity="Entity" id="2">
///       <attribute name="title">Text</attribute>
///     </object>
///     </store>
///
/// Objects are in the order of their identities; `nextId` is greater than all. Absent values have
/// no element. Numbers are decimal, Booleans true or false; see StoreDate.h for dates and
/// StoreText.h for texts.
inline constexpr int storeFormatVersion = 1;

QByteArray storeHeader(const ManagedObjectModel& model, qint64 nextID);
QByteArray storeFooter();
void appendObject(QByteArray& output, const ManagedObject& object);

} // namespace platform
