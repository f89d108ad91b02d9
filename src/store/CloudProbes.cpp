#include "CloudProbes.h"

bool CloudProbes::isCloudKitEntitled(const QVariant &value)
{
    if (!value.isValid())
        return false;
    if (value.metaType() == QMetaType::fromType<QStringList>())
        return value.toStringList().contains(QStringLiteral("CloudKit"));
    if (value.metaType() == QMetaType::fromType<QVariantList>()) {
        const QVariantList items = value.toList();
        const bool allTexts = std::all_of(items.begin(), items.end(), [](const QVariant &item) {
            return item.metaType() == QMetaType::fromType<QString>();
        });
        // A list holding anything but texts is "some other value", which counts as entitled.
        if (allTexts)
            return value.toStringList().contains(QStringLiteral("CloudKit"));
    }
    return true;
}

CloudProbes::Opening LocalCloudProbes::openSyncedStore()
{
    return {nullptr, QStringLiteral("CloudKit is not available on Linux")};
}

CloudProbes::Opening LocalCloudProbes::openLocalStore()
{
    IdeaStore::Opening opening = IdeaStore::open(m_storePath);
    return {std::move(opening.store), opening.error};
}
