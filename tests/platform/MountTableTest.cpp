#include "platform/MountTable.h"

#include "tests/platform/FakeMountTable.h"

using namespace Qt::StringLiterals;

TEST(MountTableText, GivesTheMountOfALineAndLeavesMalformedLinesOut)
{
    const QList<std::pair<QByteArray, Mount>> rows = {
        {"36 22 8:17 / /media/PEN rw,noatime shared:2 - vfat /dev/sdb1 rw",
         {36, "8:17", u"/"_s, u"/media/PEN"_s, "vfat", u"/dev/sdb1"_s}},
        {"36 22 0:40 /sub /mnt/x ro - tmpfs none ro",
         {36, "0:40", u"/sub"_s, u"/mnt/x"_s, "tmpfs", u"none"_s}},
        {"36 22 0:40 / /mnt/x ro shared:1 master:2 unbindable - fuseblk /dev/b ro",
         {36, "0:40", u"/"_s, u"/mnt/x"_s, "fuseblk", u"/dev/b"_s}},
        {R"(36 22 8:1 / /m/NO\040NAME\011b\012c\043 rw - vfat /dev/b rw)",
         {36, "8:1", u"/"_s, u"/m/NO NAME\tb\nc#"_s, "vfat", u"/dev/b"_s}},
        {R"(36 22 8:1 / /m/a\134040b\09 rw - vfat /dev/s\1 rw)",
         {36, "8:1", u"/"_s, u"/m/a\\040b\\09"_s, "vfat", u"/dev/s\\1"_s}},
        {"36 22 8:1 / /media/Gr\xc3\xbc\xc3\x9f rw - vfat /dev/sdb1",
         {36, "8:1", u"/"_s, u"/media/Grüß"_s, "vfat", u"/dev/sdb1"_s}},
    };
    for (const auto &[line, mount] : rows)
        EXPECT_EQ(parseMountTable(line + '\n'), QList{mount}) << line.constData();
    for (const QByteArray line :
         {"", "      ", "36 22 8:17 / /media/PEN rw shared:2 vfat /dev/sdb1 rw",
          "36 22 8:17 / /media/PEN rw - vfat", "x 22 8:17 / /media/PEN rw - vfat /dev/sdb1 rw",
          "36 22 - / /m"}) {
        const QList<Mount> mounts =
            parseMountTable(rootLine + '\n' + line + '\n' + mediumLine("LAST"));
        ASSERT_EQ(mounts.size(), 2) << line.constData();
        EXPECT_EQ(mounts.constLast().mountPoint, u"/media/anna/LAST"_s);
    }
}

TEST(VolumeMounts, AreToldFromTheSystemsOwnAndTakeWhatIsOnTopWhereTwoAreAtOnePlace)
{
    const auto isVolume = [](const QByteArray &mount) {
        return !volumeMounts(parseMountTable(rootLine + "\n30 22 " + mount + " rw\n")).isEmpty();
    };
    for (const char *mount :
         {"8:17 / /media/anna/QUILLO rw - vfat /dev/sdb1",
          "8:17 / /run/media/anna/QUILLO rw - vfat /dev/sdb1", "8:17 / /mnt rw - vfat /dev/sdb1",
          "8:17 / /Volumes/QUILLO rw - exfat /dev/sdb1",
          "8:17 / /media/anna/DISK rw - fuseblk /dev/sdb1", "0:50 / /mnt/QUILLO rw - tmpfs none",
          "0:51 / /media/QUILLO rw - fuse.testfs testfs", "8:17 / /pen rw - vfat /dev/sdb1"})
        EXPECT_TRUE(isVolume(mount)) << mount;
    for (const char *mount :
         {"0:50 / /mediation/x rw - tmpfs none", "0:50 / /media rw - tmpfs none",
          "8:2 / /boot/efi rw - vfat /dev/sda2", "8:3 / /home rw - ext4 /dev/sda3",
          "8:3 / /home/anna rw - ext4 /dev/sda3", "7:1 / /snap/core/1 ro - squashfs /dev/loop1",
          "7:1 / /media/x ro - squashfs /dev/loop1", "0:44 / /run/user/1000 rw - tmpfs tmpfs",
          "0:5 / /proc rw - proc proc", "0:46 / /mnt/auto rw - autofs systemd-1",
          "0:47 / /mnt/share rw - nfs4 server:/share", "0:47 / /mnt/share rw - cifs //server/share",
          "0:47 / /mnt/far rw - fuse.sshfs anna@far:/", "0:47 / /mnt/far rw - newnetfs far:/export",
          "0:47 / /mnt/cloud rw - fuse.rclone cloud:",
          "0:47 / /mnt/gvfs rw - fuse.gvfsd-fuse gvfsd-fuse",
          "8:1 /srv /mnt/bound rw - ext4 /dev/sda1", "8:3 /x /data rw - ext4 /dev/sda3"})
        EXPECT_FALSE(isVolume(mount)) << mount;

    const QList<Mount> mounts =
        volumeMounts(parseMountTable(rootLine
                                     + "\n30 22 8:17 / /media/PEN rw - vfat /dev/sdb1 rw"
                                       "\n31 30 0:47 / /media/PEN rw - nfs server:/pen rw"
                                       "\n32 22 8:33 / /media/QUILLO rw - vfat /dev/sdc1 rw"
                                       "\n33 32 8:49 / /media/QUILLO rw - vfat /dev/sdd1 rw"));
    ASSERT_EQ(mounts.size(), 1);
    EXPECT_EQ(mounts.constFirst().id, 33);
}

TEST(VolumeName, IsTheLastNameOfTheMountPointOrThatOfFatWithoutLabel)
{
    const QList<std::tuple<QByteArray, QString, QString>> rows = {
        {"vfat", u"/media/anna/1A2B-3C4D"_s, u"NO NAME"_s},
        {"vfat", u"/run/media/anna/0000-00ff2"_s, u"NO NAME"_s},
        {"msdos", u"/media/1A2B-3C4D"_s, u"NO NAME"_s},
        {"fuseblk", u"/media/1A2B-3C4D"_s, u"NO NAME"_s},
        {"ext4", u"/media/1A2B-3C4D"_s, u"1A2B-3C4D"_s},
        {"vfat", u"/media/1A2B-3C4D/QUILLO"_s, u"QUILLO"_s},
        {"vfat", u"/media/X1A2B-3C4D"_s, u"X1A2B-3C4D"_s},
        {"vfat", u"/media/1A2B-3C4G"_s, u"1A2B-3C4G"_s},
        {"fuseblk", u"/media/01A2B3C4D5E6F708"_s, u"01A2B3C4D5E6F708"_s},
    };
    for (const auto &[type, mountPoint, name] : rows)
        EXPECT_EQ(volumeName({36, "8:17", u"/"_s, mountPoint, type, u"/dev/sdb1"_s}), name)
            << qPrintable(mountPoint);
}
