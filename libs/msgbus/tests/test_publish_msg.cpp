// The texts of bus messages: what a PublishMsg and a MessageJson look like, and that a listener reads back
// what was published.

#include "utility_business/ipc_define.h"
#include "utility_business/message_json.h"

#include <gtest/gtest.h>

namespace {

using utility_business::MessageJson;
using utility_business::ipc_define::PublishMsg;

TEST(PublishMsgText, IsOneCompactJsonObjectWithArgumentsInOrder)
{
    PublishMsg message(QStringLiteral("networkHasChanged"), QStringLiteral("request"));
    message.setType(QStringLiteral("notification"));
    message.addArgument(1);
    message.addArgument(4);
    EXPECT_EQ(message.toString(),
              QStringLiteral(R"({"arguments":[1,4],"name":"networkHasChanged","type":"notification"})"));
    EXPECT_EQ(MessageJson(QStringLiteral("pc.profile.profilesHasChanged")).toString(),
              QStringLiteral(R"({"name":"pc.profile.profilesHasChanged"})"));
}

TEST(PublishMsgParse, ReadsBackWhatWasWrittenWithEachArgumentsJsonType)
{
    PublishMsg message(QStringLiteral("pushMsgToBrowser"), QStringLiteral("notification"));
    message.addArgument(MessageJson(QStringLiteral("pc.print.printersHasChanged")).toString());
    message.addArgument(3);
    message.addArgument(false);
    message.addArgument(0.25);
    message.addArgument(QVariant());
    message.addArgument(QStringLiteral("打印完成 \"ok\""));

    const auto parsed = PublishMsg::fromString(message.toString());
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->name(), message.name());
    EXPECT_EQ(parsed->type(), message.type());
    ASSERT_EQ(parsed->arguments().size(), 6);
    EXPECT_EQ(parsed->arguments()[0].toString(), QStringLiteral(R"({"name":"pc.print.printersHasChanged"})"));
    EXPECT_EQ(parsed->arguments()[1].type(), QVariant::Int);  // a listener compares it with the int sent
    EXPECT_EQ(parsed->arguments()[1].toInt(), 3);
    EXPECT_EQ(parsed->arguments()[2], QVariant(false));
    EXPECT_EQ(parsed->arguments()[3].toDouble(), 0.25);
    EXPECT_TRUE(parsed->arguments()[4].isNull());
    EXPECT_EQ(parsed->arguments()[5].toString(), QStringLiteral("打印完成 \"ok\""));
}

TEST(PublishMsgParse, RefusesTextsThatAreNotMessages)
{
    for (const char* text : {"", "not json", "[1,2]", R"({"name":"x","type":"notification"})",
                             R"({"name":1,"type":"notification","arguments":[]})",
                             R"({"name":"x","type":"notification","arguments":{}})", R"({"name":"x")"}) {
        EXPECT_FALSE(PublishMsg::fromString(QString::fromUtf8(text))) << text;
    }
}

}  // namespace
