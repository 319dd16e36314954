#include <gtest/gtest.h>

#include <QByteArray>
#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include "Decoders.h"
#include "RecordingContext.h"

namespace harvest {
namespace {

std::string base64(const std::string& bytes) {
    return QByteArray::fromStdString(bytes).toBase64().toStdString();
}

Origin originOf(const std::string& source) {
    Origin origin;
    origin.source = source;
    return origin;
}

const std::string kZip = std::string("PK\x03\x04\x14\0\0\0zip data", 16);

// Three good messages and, third of four, one that is no message at all.
std::string sampleMbox() {
    return "From elodie@x.org Mon Jan  1 00:00:00 2024\n"
           "From: =?UTF-8?B?" +
           base64("Élodie Durand") +
           "?= <elodie@x.org>\n"
           "To: \"Lee, Ann\" <ann@x.org>, team: bo@y.org, Carl <carl@y.org>;\n"
           "Subject: =?ISO-8859-1?Q?caf=E9?= plans\n"
           "Message-ID: <m1@host.example>\n"
           "Received: from relay.example (relay-7@mx.example) by mx.example\n"
           "References: <r0@host.example>\n"
           "DKIM-Signature: v=1; i=@x.org; b=AGHTdkim\n"
           "List-Post: <mailto:list@x.org>\n"
           "MIME-Version: 1.0\n"
           "Content-Type: text/plain; charset=utf-8\n"
           "Content-Transfer-Encoding: quoted-printable\n"
           "\n"
           "Write to dan@exam=\nple.org soon.\n"
           ">From the archive\n"
           ">>From deeper\n"
           "\n"
           "From bo@y.org Mon Jan  1 00:00:00 2024\n"
           "From: Bo <bo@y.org>\n"
           "Message-ID: <m2@host.example>\n"
           "MIME-Version: 1.0\n"
           "Content-Type: multipart/mixed; boundary=\"XX\"\n"
           "\n"
           "--XX\n"
           "Content-Type: text/plain; charset=utf-8\n"
           "Content-Transfer-Encoding: base64\n"
           "\n" +
           base64("Call erin@x.org\n") +
           "\n"
           "--XX\n"
           "Content-Type: text/html; charset=iso-8859-1\n"
           "Content-Transfer-Encoding: quoted-printable\n"
           "\n"
           "<p>Ren=E9e: <a href=3D\"mailto:renee@x.org\">Ren=E9e Roy</a></p>\n"
           "--XX\n"
           "Content-Type: application/zip\n"
           "Content-Disposition: attachment; filename=\"data.zip\"\n"
           "Content-Transfer-Encoding: base64\n"
           "\n" +
           base64(kZip) +
           "\n"
           "--XX\n"
           "Content-Type: message/rfc822\n"
           "\n"
           "From: Inner <inner@z.org>\n"
           "Message-ID: <inner@host.example>\n"
           "\n"
           "inner body\n"
           "--XX--\n"
           "\n"
           "From nobody Mon Jan  1 00:00:00 2024\n"
           "this is not a message at all\n"
           "\n"
           "From last@x.org Mon Jan  1 00:00:00 2024\n"
           "From: last@x.org\n"
           "Message-ID: <m4@host.example>\n"
           "\n"
           "last body\n";
}

const TextPiece* pieceWith(const RecordingContext& context, int message, const std::string& field) {
    for (const TextPiece& piece : context.pieces) {
        if (piece.origin.message == message && piece.origin.field == field) {
            return &piece;
        }
    }
    return nullptr;
}

bool hasHint(const TextPiece& piece, const std::string& address, const std::string& name) {
    return std::any_of(piece.names.begin(), piece.names.end(), [&](const NameHint& hint) {
        return hint.address == address && hint.name == name;
    });
}

class SampleMbox : public testing::Test {
protected:
    void SetUp() override {
        const std::string mbox = sampleMbox();
        decodeMbox(Blob{mbox, originOf("box.mbox"), 0}, context);
    }
    RecordingContext context;
};

TEST_F(SampleMbox, TheBrokenMessageIsAProblemReadAsTextAndTheOthersGoOn) {
    ASSERT_EQ(context.problems.size(), 1u);
    EXPECT_EQ(context.problems[0].source, "box.mbox");
    EXPECT_TRUE(context.problems[0].reason.starts_with("message 3: "))
        << context.problems[0].reason;
    std::set<int> messages;
    for (const TextPiece& piece : context.pieces) {
        ASSERT_TRUE(piece.origin.message.has_value());
        messages.insert(*piece.origin.message);
        EXPECT_EQ(piece.origin.source, "box.mbox");
        if (*piece.origin.message == 3) {
            EXPECT_EQ(piece.text, "this is not a message at all\n\n");
        } else {
            EXPECT_EQ(piece.origin.messageId,
                      "m" + std::to_string(*piece.origin.message) + "@host.example");
        }
    }
    EXPECT_EQ(messages, (std::set<int>{1, 2, 3, 4}));
}

TEST_F(SampleMbox, AddressFieldsCarryDisplayNames) {
    const TextPiece* from = pieceWith(context, 1, "From");
    ASSERT_NE(from, nullptr);
    EXPECT_EQ(from->text, "Élodie Durand <elodie@x.org>");
    EXPECT_TRUE(hasHint(*from, "elodie@x.org", "Élodie Durand"));
    const TextPiece* to = pieceWith(context, 1, "To");
    ASSERT_NE(to, nullptr);
    EXPECT_EQ(to->text, "Lee, Ann <ann@x.org>, bo@y.org, Carl <carl@y.org>");
    EXPECT_TRUE(hasHint(*to, "ann@x.org", "Lee, Ann"));
    EXPECT_TRUE(hasHint(*to, "carl@y.org", "Carl"));
    EXPECT_EQ(to->names.size(), 2u);
    const TextPiece* subject = pieceWith(context, 1, "Subject");
    ASSERT_NE(subject, nullptr);
    EXPECT_EQ(subject->text, "café plans");
    EXPECT_NE(pieceWith(context, 1, "List-Post"), nullptr);
}

TEST_F(SampleMbox, MachineIdentifiersAreNotHandedOn) {
    for (const char* field : {"Message-ID", "Received", "References", "DKIM-Signature"}) {
        EXPECT_EQ(pieceWith(context, 1, field), nullptr) << field;
    }
    const std::string all = context.allText();
    for (const char* text : {"m1@host.example", "relay-7@", "r0@host.example", "AGHTdkim"}) {
        EXPECT_EQ(all.find(text), std::string::npos) << text;
    }
}

TEST_F(SampleMbox, BodiesAreDecoded) {
    const TextPiece* body1 = pieceWith(context, 1, "");
    ASSERT_NE(body1, nullptr);
    EXPECT_NE(body1->text.find("dan@example.org"), std::string::npos) << body1->text;
    EXPECT_NE(body1->text.find("\nFrom the archive\n>From deeper"), std::string::npos)
        << body1->text;
    const std::string all = context.allText();
    EXPECT_NE(all.find("Call erin@x.org"), std::string::npos);
    EXPECT_NE(all.find("Renée: Renée Roy"), std::string::npos);
    EXPECT_NE(all.find("last body"), std::string::npos);
    const auto html =
        std::find_if(context.pieces.begin(), context.pieces.end(),
                     [](const TextPiece& p) { return !p.names.empty() && p.origin.field.empty(); });
    ASSERT_NE(html, context.pieces.end());
    EXPECT_TRUE(hasHint(*html, "renee@x.org", "Renée Roy"));
}

TEST_F(SampleMbox, AttachmentsAreNestedSources) {
    ASSERT_EQ(context.nestedSources.size(), 2u);
    const NestedSource& zip = context.nestedSources[0];
    EXPECT_EQ(zip.origin.source, "box.mbox!data.zip");
    EXPECT_EQ(zip.bytes, kZip);
    EXPECT_EQ(zip.depth, 1);
    EXPECT_EQ(zip.origin.message, 2);
    EXPECT_EQ(zip.origin.messageId, "m2@host.example");
    const NestedSource& attached = context.nestedSources[1];
    EXPECT_EQ(attached.origin.source, "box.mbox!part-4");
    EXPECT_NE(attached.bytes.find("<inner@host.example>"), std::string::npos);
    EXPECT_NE(attached.bytes.find("inner body"), std::string::npos);
}

TEST(DecodeMail, AttachedMessageDecodesWithItsOwnId) {
    const std::string message =
        "From: Outer <outer@x.org>\r\nMessage-ID: <outer@h>\r\n"
        "Content-Type: multipart/mixed; boundary=b\r\n\r\n"
        "--b\r\nContent-Type: message/rfc822\r\nContent-Disposition: attachment; "
        "filename=fwd.eml\r\n\r\n"
        "From: Inner One <inner@z.org>\r\nMessage-ID: <inner@h>\r\n\r\nhello\r\n--b--\r\n";
    RecordingContext context;
    context.onNested = decodeMail;
    decodeMail(Blob{message, originOf("mail.eml"), 0}, context);
    ASSERT_EQ(context.nestedSources.size(), 1u);
    EXPECT_EQ(context.nestedSources[0].origin.source, "mail.eml!fwd.eml");
    const auto inner =
        std::find_if(context.pieces.begin(), context.pieces.end(), [](const TextPiece& p) {
            return p.origin.field == "From" && p.origin.messageId == "inner@h";
        });
    ASSERT_NE(inner, context.pieces.end());
    EXPECT_EQ(inner->origin.source, "mail.eml!fwd.eml");
    EXPECT_TRUE(hasHint(*inner, "inner@z.org", "Inner One"));
    EXPECT_TRUE(context.problems.empty());
}

TEST(DecodeMail, UnreadableMessageIsAProblemAndStillReadAsText) {
    RecordingContext context;
    decodeMail(Blob{"\x01\x02 no header here\n\nbody ann@x.org", originOf("x.eml"), 0}, context);
    ASSERT_EQ(context.problems.size(), 1u);
    EXPECT_EQ(context.problems[0].source, "x.eml");
    EXPECT_EQ(context.problems[0].reason, "not a readable mail message; read as plain text");
    EXPECT_NE(context.allText().find("body ann@x.org"), std::string::npos);
}

struct HeaderCase {
    const char* line;
    bool handedOn;
};

class HeaderFields : public testing::TestWithParam<HeaderCase> {};

TEST_P(HeaderFields, OnlyContactFieldsAreHandedOn) {
    const std::string line = GetParam().line;
    const std::string field = line.substr(0, line.find(':'));
    RecordingContext context;
    decodeMail(Blob{"Subject: s\n" + line + "\n\nbody\n", originOf("m.eml"), 0}, context);
    const bool handedOn = std::any_of(context.pieces.begin(), context.pieces.end(),
                                      [&](const TextPiece& p) { return p.origin.field == field; });
    EXPECT_EQ(handedOn, GetParam().handedOn);
    EXPECT_NE(context.allText().find("body"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, HeaderFields,
    testing::Values(HeaderCase{"Reply-To: Ann <ann@x.org>", true},
                    HeaderCase{"X-Original-To: ann@x.org", true},
                    HeaderCase{"Delivered-To: ann@x.org", true},
                    HeaderCase{"Resent-From: Ann <ann@x.org>", true},
                    HeaderCase{"Disposition-Notification-To: ann@x.org", true},
                    HeaderCase{"X-Contact: call ann@x.org", true},
                    HeaderCase{"Received: from a.example (b@c.example)", false},
                    HeaderCase{"X-Received: by 10.0.0.1 with SMTP id x@y", false},
                    HeaderCase{"In-Reply-To: <a@b.example>", false},
                    HeaderCase{"Resent-Message-ID: <a@b.example>", false},
                    HeaderCase{"ARC-Seal: i=1; a=rsa-sha256; d=x.org", false},
                    HeaderCase{"Authentication-Results: mx; smtp.mailfrom=bounce@x.org", false},
                    HeaderCase{"X-Google-Smtp-Source: AGHT+abc@google", false},
                    HeaderCase{"X-Gm-Message-State: AOJu0Y@x", false},
                    HeaderCase{"List-Unsubscribe: <mailto:unsub-123@x.org>", false},
                    HeaderCase{"X-Feedback-ID: 1:abc@x", false}));

}  // namespace
}  // namespace harvest
