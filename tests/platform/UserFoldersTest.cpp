#include "platform/linux/UserFolders.h"

#include "UserHome.h"

#include <QDir>

#include <gtest/gtest.h>

namespace lumivane {

class UserFoldersTest : public testing::Test {
protected:
    test::UserHome home;
};

TEST_F(UserFoldersTest, DocumentsBearTheNameOfTheDesktopsLanguage) {
    home.describeFolders(
        "XDG_DESKTOP_DIR=\"$HOME/Schreibtisch\"\nXDG_DOCUMENTS_DIR=\"$HOME/Dokumente ä\"\n");
    EXPECT_EQ(UserFolders::documents(), home.path(u"Dokumente ä"_qs));
}

TEST_F(UserFoldersTest, DocumentsMayStandOutsideOfTheHome) {
    home.describeFolders("XDG_DOCUMENTS_DIR=\"/srv/papers\"\n");
    EXPECT_EQ(UserFolders::documents(), u"/srv/papers"_qs);
}

TEST_F(UserFoldersTest, DocumentsAreAskedForAtEachCall) {
    home.describeFolders("XDG_DOCUMENTS_DIR=\"$HOME/Documents\"\n");
    EXPECT_EQ(UserFolders::documents(), home.path(u"Documents"_qs));
    home.describeFolders("XDG_DOCUMENTS_DIR=\"$HOME/Dokumente\"\n");
    EXPECT_EQ(UserFolders::documents(), home.path(u"Dokumente"_qs));
}

TEST_F(UserFoldersTest, DocumentsThatAreSwitchedOffAreTheHome) {
    home.describeFolders("XDG_DOCUMENTS_DIR=\"$HOME/\"\n");
    EXPECT_EQ(QDir::cleanPath(UserFolders::documents()), home.path());
    home.describeFolders("XDG_DOCUMENTS_DIR=\"$HOME\"\n");
    EXPECT_EQ(UserFolders::documents(), home.path());
}

TEST_F(UserFoldersTest, DocumentsOfADesktopThatSaysNothingAreInTheHome) {
    EXPECT_EQ(UserFolders::documents(), home.path(u"Documents"_qs));
    home.describeFolders("XDG_DESKTOP_DIR=\"$HOME/Desktop\"\n");
    EXPECT_EQ(UserFolders::documents(), home.path(u"Documents"_qs));
}

TEST_F(UserFoldersTest, ConfigurationIsWhereTheSurroundingsSay) {
    EXPECT_EQ(UserFolders::configuration(), home.path(u"settings"_qs));
    qunsetenv("XDG_CONFIG_HOME");
    EXPECT_EQ(UserFolders::configuration(), home.path(u".config"_qs));
}

} // namespace lumivane
