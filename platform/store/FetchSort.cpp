#include "platform/store/FetchSort.h"

#include <algorithm>
#include <limits>

namespace platform {

namespace {

using Objects = ManagedObjectContext::Objects;

template <typename Key> struct Keyed {
    Key key;
    std::size_t index;
};

/// Absent values sort before all others.
qint64 numberKey(const AttributeValue& value)
{
    if (const auto* const date = std::get_if<QDateTime>(&value)) {
        return date->toMSecsSinceEpoch();
    }
    if (const auto* const number = std::get_if<int>(&value)) {
        return *number;
    }
    if (const auto* const truth = std::get_if<bool>(&value)) {
        return *truth ? 1 : 0;
    }
    return std::numeric_limits<qint64>::min();
}

const QString* textKey(const AttributeValue& value)
{
    return std::get_if<QString>(&value);
}

bool isLess(qint64 left, qint64 right)
{
    return left < right;
}

bool isLess(const QString* left, const QString* right)
{
    if (left == nullptr || right == nullptr) {
        return left == nullptr && right != nullptr;
    }
    return *left < *right;
}

/// Turns a descending sequence into an ascending one. Equal items keep their order.
template <typename Item, typename Less> void reverseStably(std::vector<Item>& items, Less less)
{
    std::reverse(items.begin(), items.end());
    for (auto first = items.begin(); first != items.end();) {
        const auto last = std::find_if(
            first, items.end(), [&](const Item& item) { return less(*first, item); });
        std::reverse(first, last);
        first = last;
    }
}

/// Faster than std::stable_sort() for the usual case of objects that are in ascending or descending
/// order already.
template <typename Item, typename Less> void sortStably(std::vector<Item>& items, Less less)
{
    const auto isGreater = [&](const Item& left, const Item& right) { return less(right, left); };
    if (std::is_sorted(items.begin(), items.end(), less)) {
        return;
    }
    if (std::is_sorted(items.begin(), items.end(), isGreater)) {
        reverseStably(items, less);
        return;
    }
    std::stable_sort(items.begin(), items.end(), less);
}

template <typename KeyOf>
void sortByKey(Objects& objects, int attribute, bool ascending, KeyOf keyOf)
{
    using Item = Keyed<decltype(keyOf(std::declval<const AttributeValue&>()))>;
    std::vector<Item> items;
    items.reserve(objects.size());
    for (std::size_t index = 0; index < objects.size(); ++index) {
        items.push_back({ keyOf(objects[index]->primitiveValue(attribute)), index });
    }
    if (ascending) {
        sortStably(
            items, [](const Item& left, const Item& right) { return isLess(left.key, right.key); });
    } else {
        sortStably(
            items, [](const Item& left, const Item& right) { return isLess(right.key, left.key); });
    }
    Objects sorted;
    sorted.reserve(objects.size());
    for (const Item& item : items) {
        sorted.push_back(std::move(objects[item.index]));
    }
    objects = std::move(sorted);
}

} // namespace

void sortByAttribute(Objects& objects, int attribute, AttributeType type, bool ascending)
{
    if (type == AttributeType::String) {
        sortByKey(objects, attribute, ascending, textKey);
    } else {
        sortByKey(objects, attribute, ascending, numberKey);
    }
}

} // namespace platform
