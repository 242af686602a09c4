#pragma once

#include "platform/SecItems.h"
#include "support/CoroutineTest.h"

namespace quillmarsh::test {

/// What every secret store has to do, on the fake as on the real one. The store starts without these items.
inline void verifySecItemsContract(SecItems& items)
{
    const SecItemQuery key{QStringLiteral("com.quillmarsh.app"), QStringLiteral("contract")};
    const SecItemQuery otherAccount{key.service, QStringLiteral("contract-2")};
    const SecItemQuery otherService{QStringLiteral("com.quillmarsh.other"), key.account};
    const QByteArray bytes = QByteArray("z\0\xff\xc3\xa9", 5);

    QCOMPARE(runTask(items.copyMatching(key)).status, errSecItemNotFound);
    QCOMPARE(runTask(items.update(key, bytes)), errSecItemNotFound);
    QCOMPARE(runTask(items.remove(key)), errSecItemNotFound);

    QCOMPARE(runTask(items.add(key, bytes, SecAccessible::whenUnlocked)), errSecSuccess);
    QCOMPARE(runTask(items.add(key, "again", SecAccessible::whenUnlocked)), errSecDuplicateItem);
    QCOMPARE(runTask(items.copyMatching(key)).data, bytes);
    QCOMPARE(runTask(items.copyMatching(otherAccount)).status, errSecItemNotFound);
    QCOMPARE(runTask(items.copyMatching(otherService)).status, errSecItemNotFound);

    const QByteArray large(200'000, 'x');
    QCOMPARE(runTask(items.update(key, large)), errSecSuccess);
    QCOMPARE(runTask(items.copyMatching(key)).data, large);
    QCOMPARE(runTask(items.update(key, QByteArray())), errSecSuccess);
    const SecItemResult emptied = runTask(items.copyMatching(key));
    QCOMPARE(emptied.status, errSecSuccess);
    QCOMPARE(emptied.data, QByteArray());

    QCOMPARE(runTask(items.add(otherAccount, "two", SecAccessible::afterFirstUnlockThisDeviceOnly)),
             errSecSuccess);
    QCOMPARE(runTask(items.remove(key)), errSecSuccess);
    QCOMPARE(runTask(items.copyMatching(key)).status, errSecItemNotFound);
    QCOMPARE(runTask(items.copyMatching(otherAccount)).data, QByteArray("two"));
    QCOMPARE(runTask(items.remove(otherAccount)), errSecSuccess);
}

} // namespace quillmarsh::test
