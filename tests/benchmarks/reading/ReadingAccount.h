#pragma once

#include "AppTestEnvironment.h"
#include "FakeMailServer.h"
#include "FakeNetwork.h"
#include "MemorySecretStore.h"
#include "app/state/AppState.h"

#include <QTemporaryDir>

#include <functional>
#include <memory>

// An inbox as a reader keeps it: a long list of short conversations under one long one, whose
// messages look like real mail (a styled HTML newsletter, HTML replies, plain text replies with
// quotes), on the fake network. The long conversation is "long"; the list holds `listed`
// threads in all, newest first.
struct ReadingAccount
{
    QTemporaryDir home;
    FakeNetwork network;
    FakeMailServer server{network};
    MemorySecretStore keychain;
    QDateTime now = QDateTime::currentDateTime();

    explicit ReadingAccount(int listed = 200)
    {
        keychain.data = QByteArray("fmu1-token");
        // A push stream that stays open and quiet, so that no timer refreshes meanwhile.
        network.setStreamPrefix(QStringLiteral("https://jmap.example.test/jmap/event/"));
        server.add(conversation(QStringLiteral("long"), 10, 3));
        for (int i = 1; i < listed; ++i)
            server.add(shortThread(i));
    }

    std::unique_ptr<AppState> makeState(int pageSize = 200,
                                        const std::function<void(AppEnvironment&)>& adjust = {})
    {
        AppEnvironment environment =
            testEnvironment(&network, home.filePath(QStringLiteral("config.json")), keychain);
        environment.attachmentCacheDir = home.filePath(QStringLiteral("cache"));
        environment.downloadsDir = home.filePath(QStringLiteral("Downloads"));
        if (adjust)
            adjust(environment);
        auto state = std::make_unique<AppState>(environment);
        AppConfig config = state->config();
        config.sessionUrl = FakeNetwork::sessionUrl().toString();
        config.pageSize = pageSize;
        // Opening a thread leaves it as it was, so every opening expands the same messages.
        config.markReadOnOpen = false;
        state->setConfig(config);
        return state;
    }

    // A conversation of `count` messages, the last `unread` of them unread: opened, those are
    // the ones expanded (the newest among them).
    QList<QJsonObject> conversation(const QString& threadId, int count, int unread) const
    {
        QList<QJsonObject> emails;
        const QStringList people = {"Anna Berg", "Bo Lind", "Chris Moreau"};
        for (int i = 0; i < count; ++i) {
            const QString id = QStringLiteral("%1-%2").arg(threadId).arg(i + 1);
            const QString subject = i == 0
                                        ? QStringLiteral("Quarterly planning: what ships next")
                                        : QStringLiteral("Re: Quarterly planning: what ships next");
            QJsonObject email =
                FakeMailServer::message(id, threadId, people.at(i % people.size()), subject,
                                        now.addSecs(-3600 * (count - i)), i < count - unread);
            if (i == 0)
                FakeMailServer::setBody(email, newsletterHtml(), QStringLiteral("text/html"));
            else if (i % 2 == 1)
                FakeMailServer::setBody(email, plainReply(i), QStringLiteral("text/plain"));
            else
                FakeMailServer::setBody(email, htmlReply(i), QStringLiteral("text/html"));
            email["size"] = 48000;
            emails << email;
        }
        return emails;
    }

    // Row i of the list: one to three short messages, "t<i>-1" to "t<i>-<1 + i % 3>".
    QList<QJsonObject> shortThread(int i) const
    {
        const QStringList senders = {"Dana Holt",   "Erik Sund", "Farah Nadim",
                                     "Gus Pereira", "Hana Ito",  "Ivo Kral"};
        QList<QJsonObject> emails =
            FakeMailServer::thread(QStringLiteral("t%1").arg(i), senders.at(i % senders.size()),
                                   QStringLiteral("Notes on item %1 for the weekly review").arg(i),
                                   now.addSecs(-600L * (i + 10)), 1 + i % 3, i % 5 != 0);
        for (QJsonObject& email : emails) {
            FakeMailServer::setBody(email, htmlReply(i), QStringLiteral("text/html"));
            email["preview"] = QStringLiteral("Thanks for the summary. I looked at item %1 and "
                                              "think we can close it once the numbers are in.")
                                   .arg(i);
        }
        return emails;
    }

    // About 25 KB of table layout with inline styles, as mailing tools write it.
    static QString newsletterHtml()
    {
        QString html = QStringLiteral(
            "<!DOCTYPE html><html><head><meta charset='utf-8'><style>"
            "body{margin:0;background:#f4f4f7;font-family:Helvetica,Arial,sans-serif}"
            ".card{background:#fff;border-radius:6px;padding:24px}"
            "h2{color:#1a1a2e;font-size:20px}p{line-height:1.5;color:#333}"
            "a.button{display:inline-block;background:#3b5bdb;color:#fff;padding:10px 18px;"
            "border-radius:4px;text-decoration:none}</style></head><body>"
            "<table role='presentation' width='100%' cellpadding='0' cellspacing='0'>"
            "<tr><td align='center' style='padding:24px 0'>"
            "<table role='presentation' width='600' cellpadding='0' cellspacing='0'>");
        for (int section = 0; section < 24; ++section) {
            html += QStringLiteral(
                        "<tr><td class='card' style='padding:16px 24px;border-bottom:1px solid "
                        "#e6e6ef'><h2>%1. Roadmap item %1</h2><p>The team finished the review of "
                        "item %1 this week. We measured the change on the staging servers and the "
                        "numbers hold: requests are down by a third and the slowest page loads in "
                        "half the time. <b>Next</b>: roll out to a tenth of accounts, then all.</p>"
                        "<table width='100%'><tr><td style='width:50%;vertical-align:top'><p "
                        "style='font-size:13px;color:#666'>Owner: Anna Berg<br>Due: week %2</p>"
                        "</td><td style='width:50%;text-align:right'><a class='button' "
                        "href='https://example.com/roadmap/%1'>Read the plan</a></td></tr></table>"
                        "</td></tr>")
                        .arg(section + 1)
                        .arg(40 + section % 12);
        }
        html += QStringLiteral("<tr><td style='padding:24px;font-size:12px;color:#999'>You receive "
                               "this because you follow the roadmap. <a "
                               "href='https://example.com/unsubscribe'>Unsubscribe</a></td></tr>"
                               "</table></td></tr></table></body></html>");
        return html;
    }

    static QString htmlReply(int n)
    {
        return QStringLiteral(
                   "<div dir='ltr'><p>Hi all,</p><p>Point %1 looks right to me. Two notes:</p>"
                   "<ul><li>the migration needs a dry run on a copy of the data first;</li>"
                   "<li>we should tell support a week ahead.</li></ul><p>Best,<br>Chris</p>"
                   "<div class='gmail_quote'><div>On Monday, Anna Berg wrote:</div><blockquote "
                   "style='margin:0 0 0 .8ex;border-left:1px #ccc solid;padding-left:1ex'>"
                   "<p>Here is the plan for the quarter. Please reply with concerns by Friday."
                   "</p><p>Anna</p></blockquote></div></div>")
            .arg(n);
    }

    static QString plainReply(int n)
    {
        QString text = QStringLiteral("Thanks Anna,\n\nagreed on point %1. I can take the dry run "
                                      "next Tuesday if someone books the staging copy.\n\nBo\n\n"
                                      "On Monday, Anna Berg <anna@example.com> wrote:\n")
                           .arg(n);
        for (int line = 0; line < 30; ++line)
            text += QStringLiteral("> Line %1 of the plan, with enough words to wrap once on a "
                                   "narrow reader.\n")
                        .arg(line + 1);
        return text;
    }
};
