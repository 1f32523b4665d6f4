#pragma once

#include "platform/FileManager.h"

#include <QByteArrayList>
#include <QDir>
#include <QProcess>
#include <QTest>

#include <algorithm>
#include <filesystem>

// Runs the shell commands in the folder, which is made.
inline void runIn(const QString &folder, const QByteArray &commands)
{
    QVERIFY(QDir().mkpath(folder));
    QCOMPARE(
        QProcess::execute(QStringLiteral("sh"),
                          {QStringLiteral("-ec"), QStringLiteral("cd \"$0\"; ") + QString::fromUtf8(commands), folder}),
        0);
}

// A line for each path below the folder: its kind and mode, and its content or its link's target.
inline QByteArrayList treeOf(const QString &folder)
{
    namespace fs = std::filesystem;
    QByteArrayList lines;
    std::error_code failure;
    for (fs::recursive_directory_iterator entry(toPath(folder), failure), end; entry != end; entry.increment(failure)) {
        const fs::file_status status = entry->symlink_status();
        QByteArray line = QByteArray::fromStdString(entry->path().lexically_relative(toPath(folder)).native()) + ' '
            + QByteArray::number(int(status.type())) + ' ' + QByteArray::number(uint(status.permissions()), 8);
        if (fs::is_regular_file(status))
            line += ' ' + FileManager::contentsOfFile(entry->path()).value_or("unreadable");
        if (fs::is_symlink(status))
            line += ' ' + QByteArray::fromStdString(fs::read_symlink(entry->path(), failure).native());
        lines.append(line);
    }
    std::ranges::sort(lines);
    return lines;
}
