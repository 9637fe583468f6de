#include "ComposeFixture.h"

#include <QFile>

using namespace AsyncTest;

namespace {

// An inbox message to the work identity, with one attachment, in thread "t1".
QJsonObject workMessage()
{
    QJsonObject email = FakeMailServer::email("e1", "t1", "in", 5);
    email.insert("to", QJsonArray{QJsonObject{{"name", "Work"}, {"email", "Work@Example.com"}}});
    email.insert("attachments", QJsonArray{QJsonObject{{"partId", "2"},
                                                       {"blobId", "blob-pdf"},
                                                       {"name", "report.pdf"},
                                                       {"type", "application/pdf"},
                                                       {"size", 1200}}});
    return email;
}

Email emailOf(FakeMailServer& server, const QString& id)
{
    return Email::fromJson(*server.find(id));
}

} // namespace

class TestCompose : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void composeSeedsEachKind()
    {
        ComposeFixture f;
        f.server.add(workMessage());
        auto state = f.started();

        // A new message from the account's identity: the signature alone is not a change.
        ComposeDraft* fresh = state->compose();
        QCOMPARE(fresh->identityId(), QString("id-me"));
        QCOMPARE(fresh->body(), QString("\n\n-- \nMe"));
        QCOMPARE(fresh->content(), *fresh->initialContent);
        QCOMPARE(f.windows, QList<QUuid>{fresh->id()});

        // A reply goes out from the identity it was addressed to, signature above the quote.
        state->setSelectedThreadIds({"t1"});
        state->threadSelectionChanged();
        QTRY_COMPARE(state->openEmails().size(), 1);
        ComposeDraft* reply = state->compose(ReplyKind::Reply);
        QVERIFY(reply);
        QCOMPARE(reply->identityId(), QString("id-work"));
        QVERIFY(reply->body().startsWith("\n\n-- \nWork team\n\n"));
        QCOMPARE(reply->to(), QString("Sender e1 <e1@example.com>"));
        QCOMPARE(reply->inReplyTo, QStringList{"e1@example.com"});
        QCOMPARE(reply->answeredEmailId, QString("e1"));
        QVERIFY(reply->focusesBody);
        QVERIFY(reply->archiveSource);
        QCOMPARE(reply->archiveSource->mailboxId, QString("in"));

        // A forward points at the source's blobs and focuses the To field.
        ComposeDraft* forward = state->compose(ReplyKind::Forward, emailOf(f.server, "e1"));
        QCOMPARE(forward->attachments().size(), 1);
        const DraftAttachment carried = forward->attachments().first();
        QCOMPARE(carried.blobId, QString("blob-pdf"));
        QCOMPARE(carried.name, QString("report.pdf"));
        QVERIFY(!carried.fileUrl);
        QVERIFY(!forward->focusesBody);
        QVERIFY(!forward->archiveSource);

        // Nothing to answer: no draft, no window.
        state->setSelectedThreadIds({});
        state->threadSelectionChanged();
        QTRY_VERIFY(state->openEmails().isEmpty());
        const qsizetype open = state->drafts().size();
        QVERIFY(!state->compose(ReplyKind::ReplyAll));
        QCOMPARE(state->drafts().size(), open);
        QCOMPARE(f.windows.size(), 3);

        // The main window's keys go through the same road.
        state->perform(MailAction::Compose);
        QCOMPARE(f.windows.size(), 4);
    }

    void mailtoLinksWaitForTheStartSequence()
    {
        ComposeFixture f;
        auto state = f.make(50);
        QVERIFY(state->pendingLinks());
        state->open({QUrl("https://example.com/"),
                     QUrl("mailto:a@example.com?subject=Hi&body=Hello"),
                     QUrl("mailto:b@example.com")});
        QCOMPARE(state->pendingLinks()->size(), 2);
        QVERIFY(state->drafts().isEmpty());

        state->start([&f](QUuid id) { f.windows.append(id); });
        QTRY_COMPARE(f.windows.size(), 2);
        QVERIFY(!state->pendingLinks());
        ComposeDraft* first = state->draft(f.windows.at(0));
        QCOMPARE(first->to(), QString("a@example.com"));
        QCOMPARE(first->subject(), QString("Hi"));
        // The link's text comes before the signature, and a subject sends the focus to the body.
        QCOMPARE(first->body(), QString("Hello\n\n-- \nMe"));
        QVERIFY(first->focusesBody);
        QVERIFY(!state->draft(f.windows.at(1))->focusesBody);

        // From now on links open at once.
        state->open({QUrl("MAILTO:c@example.com")});
        QCOMPARE(f.windows.size(), 3);
        QCOMPARE(state->draft(f.windows.at(2))->to(), QString("c@example.com"));
    }

    void autosaveWritesOnceAfterThePauseAndChainsWrites()
    {
        ComposeFixture f;
        auto state = f.started();
        ComposeDraft* draft = state->compose();

        // Typing without a pause as long as the delay writes nothing; the pause writes the newest.
        for (int key = 0; key < 5; ++key) {
            draft->setSubject(QString("Plan").left(key));
            state->draftChanged(draft);
            QTest::qWait(15);
            QCOMPARE(f.creates().size(), 0);
        }
        draft->setSubject("Plans");
        state->draftChanged(draft);
        QTRY_VERIFY(draft->serverDraftId);
        QCOMPARE(f.creates().size(), 1);
        const QJsonObject saved = f.creates().at(0)["create"]["draft"].toObject();
        QCOMPARE(saved["subject"].toString(), QString("Plans"));
        QCOMPARE(saved["keywords"]["$draft"].toBool(), true);
        QCOMPARE(draft->statusText().startsWith("Draft saved "), true);
        const QString first = *draft->serverDraftId;

        // Two saves asked at once run in order; the second replaces what the first produced.
        f.network.setHolding(true);
        draft->setIsMarkdown(!draft->isMarkdown());
        auto one = state->saveDraft(draft);
        draft->setBody("newest");
        auto two = state->saveDraft(draft);
        QTRY_COMPARE(f.network.heldCount(), 1);
        f.network.releaseAll();
        QTRY_COMPARE(f.network.heldCount(), 1);
        f.network.setHolding(false);
        f.network.releaseAll();
        const auto ids = std::pair(await(std::move(one)), await(std::move(two)));
        QCOMPARE(f.creates().size(), 3);
        QCOMPARE(f.creates().at(1)["destroy"].toArray(), QJsonArray{first});
        QCOMPARE(f.creates().at(2)["destroy"].toArray(), QJsonArray{*ids.first});
        QCOMPARE(f.creates()
                     .at(2)["create"]["draft"]["bodyValues"]
                     .toObject()
                     .begin()
                     ->toObject()["value"]
                     .toString(),
                 QString("newest"));
        QCOMPARE(draft->serverDraftId, ids.second);

        // A failed save says why; a later success takes the message away again.
        f.server.refusingCreate = "Quota exceeded";
        draft->setBody("more");
        QVERIFY(!await(state->saveDraft(draft)));
        QVERIFY(draft->error()->startsWith("Could not save the draft: "));
        f.server.refusingCreate.clear();
        QVERIFY(await(state->saveDraft(draft)));
        QVERIFY(!draft->error());
    }

    void closingAndDiscardingLeaveTheRightTrace()
    {
        ComposeFixture f;
        auto state = f.started();

        // Untouched: nothing written, no toast.
        ComposeDraft* untouched = state->compose();
        state->closeDraft(untouched->id());
        QVERIFY(state->drafts().isEmpty());
        QCOMPARE(f.creates().size(), 0);

        // Changed: saved once on close, with a toast.
        ComposeDraft* changed = state->compose();
        changed->setSubject("Later");
        state->draftChanged(changed);
        state->closeDraft(changed->id());
        QTRY_COMPARE(f.toasts, QStringList{"Draft saved"});
        QCOMPARE(f.creates().size(), 1);
        QTest::qWait(60);
        QCOMPARE(f.creates().size(), 1);

        // Discarding while a save runs waits for it and destroys the id it produced.
        ComposeDraft* discarded = state->compose();
        discarded->setSubject("Oops");
        f.network.setHolding(true);
        auto saving = state->saveDraft(discarded);
        QTRY_COMPARE(f.network.heldCount(), 1);
        state->discard(discarded);
        QVERIFY(state->drafts().isEmpty());
        f.network.setHolding(false);
        f.network.releaseAll();
        const auto produced = await(std::move(saving));
        QVERIFY(produced);
        QTRY_COMPARE(f.toasts, (QStringList{"Draft saved", "Draft discarded"}));
        QVERIFY(!f.server.find(*produced));
        QCOMPARE(f.creates().size(), 2);
    }

    void reopenedDraftsKeepTheirModeAndWindow()
    {
        ComposeFixture f;
        QJsonObject plain = FakeMailServer::email("p1", "tp", "drafts", 1);
        FakeMailServer::setBody(plain, "Text of p1", "text/plain");
        plain.insert("from", QJsonArray{QJsonObject{{"email", "WORK@example.com"}}});
        QJsonObject markdown = FakeMailServer::email("m1", "tm", "drafts", 2);
        markdown.insert("htmlBody",
                        QJsonArray{QJsonObject{{"partId", "2"}, {"type", "text/html"}}});
        f.server.add(plain);
        f.server.add(markdown);
        auto state = f.started();
        AppConfig config = state->config();
        config.markdownByDefault = true;
        state->setConfig(config);

        ComposeDraft* reopened = state->editDraft(emailOf(f.server, "p1"));
        QVERIFY(!reopened->isMarkdown());
        QCOMPARE(reopened->identityId(), QString("id-work"));
        QCOMPARE(reopened->body(), QString("Text of p1"));
        QCOMPARE(*reopened->savedContent, reopened->content());
        QVERIFY(state->editDraft(emailOf(f.server, "m1"))->isMarkdown());
        // One server draft, one window.
        QCOMPARE(state->editDraft(emailOf(f.server, "p1")), reopened);
        QCOMPARE(f.windows.size(), 2);
        // An untouched reopened draft writes nothing when saved.
        QCOMPARE(await(state->saveDraft(reopened)), QString("p1"));
        QCOMPARE(f.creates().size(), 0);
    }

    void suggestionKeysCompleteTheField()
    {
        ComposeFixture f;
        // The address book learns from sent mail when the account connects.
        QJsonObject sent = FakeMailServer::email("s1", "ts", "sent", 1);
        sent.insert("to", QJsonArray{QJsonObject{{"name", "Ann"}, {"email", "ann@example.com"}},
                                     QJsonObject{{"name", "Anna"}, {"email", "anna@example.com"}}});
        f.server.add(sent);
        auto state = f.started();
        QTRY_COMPARE(state->addressBook().suggestions("an", {}, 6).size(), 2);
        ComposeDraft* draft = state->compose();
        draft->setCc("ann@example.com");
        draft->setTo("an");
        state->updateSuggestions(RecipientField::To, draft);
        // What stands in another field is not offered again.
        QCOMPARE(draft->suggestions().size(), 1);
        QCOMPARE(draft->suggestionField(), RecipientField::To);

        const KeyContext context{KeyContext::Window::Compose, KeyContext::Focus::Text, draft->id()};
        QVERIFY(state->handleKeyDown(*KeyBinding::fromText("down"), context));
        QCOMPARE(draft->suggestionIndex(), 0);
        QVERIFY(!state->handleSuggestionKey(*KeyBinding::fromText("a"), draft));
        QVERIFY(state->handleKeyDown(*KeyBinding::fromText("tab"), context));
        QCOMPARE(draft->to(), QString("Anna <anna@example.com>, "));
        QVERIFY(draft->suggestions().isEmpty());
        // Without the popup, Escape belongs to the window; the compose keys still act.
        QVERIFY(!state->handleKeyDown(*KeyBinding::fromText("escape"), context));
        QVERIFY(state->handleKeyDown(*state->config().binding(MailAction::Discard), context));
        QVERIFY(draft->isConfirmingDiscard());
    }

    void attachmentsUploadOnceOnSave()
    {
        ComposeFixture f;
        f.network.setResponse(
            QUrl("https://jmap.example.test/jmap/upload/" + FakeNetwork::accountId() + "/"),
            {200, R"({"blobId":"up-1","type":"text/plain","size":5})"});
        auto state = f.started();
        ComposeDraft* draft = state->compose();
        const QString path = f.home.filePath("notes.txt");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("notes");
        file.close();

        state->attach({QUrl::fromLocalFile(path), QUrl::fromLocalFile(f.home.path()),
                       QUrl::fromLocalFile(path), QUrl("https://example.com/x.txt")},
                      draft);
        QCOMPARE(draft->attachments().size(), 1);
        QCOMPARE(draft->attachments().first().type, QString("text/plain"));
        QCOMPARE(draft->attachments().first().size, 5);
        QCOMPARE(draft->error(), QString("Only files can be attached, not folders."));

        QVERIFY(await(state->saveDraft(draft)));
        QCOMPARE(draft->attachments().first().blobId, QString("up-1"));
        draft->setSubject("again");
        QVERIFY(await(state->saveDraft(draft)));
        qsizetype uploads = 0;
        for (const RecordedRequest& request : f.network.requests())
            uploads += request.url.path().contains("/upload/");
        QCOMPARE(uploads, 1);
        const QJsonArray attached =
            f.creates().constLast()["create"]["draft"]["attachments"].toArray();
        QCOMPARE(attached.size(), 1);
        QCOMPARE(attached.at(0)["blobId"].toString(), QString("up-1"));
        QCOMPARE(attached.at(0)["name"].toString(), QString("notes.txt"));
    }
};

QTEST_GUILESS_MAIN(TestCompose)
#include "tst_compose.moc"
