#include "DemoData.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <QTimeZone>

// The made-up mail of demo mode: threads in several mailboxes, with full messages, so that the
// list, the reader, attachments and inline images all work without a network.
namespace DemoData {

namespace {

EmailAddress person(const char* name, const char* address)
{
    return EmailAddress{QString::fromUtf8(name), QString::fromLatin1(address)};
}

const EmailAddress alex = person("Alex Morgan", "alex@example.com");
const EmailAddress anna = person("Anna Berg", "anna@example.com");
const EmailAddress ben = person("Ben Okafor", "ben.okafor@example.org");
const EmailAddress chiara = person("Chiara Rossi", "chiara@example.org");
const EmailAddress emil = person("Emil Sandqvist", "emil@example.net");
const EmailAddress priya = person("Priya Nair", "priya.nair@example.com");
const EmailAddress tomas = person("Tomás Lindgren", "tomas@example.net");
const EmailAddress grace = person("Grace Whitfield", "grace@example.org");
const EmailAddress hugo = person("Hugo Brandt", "hugo.brandt@example.com");
const EmailAddress devTeam = person("Dev Team", "dev-team@example.com");
const EmailAddress gardenList = person("Greenfield Co-op", "members@example.org");
const EmailAddress newsletter = person("The Weekly Sprout", "news@example.net");
const EmailAddress shop = person("Hearth & Field Supply", "orders@example.com");
const EmailAddress airline = person("Northwind Air", "itinerary@example.net");
const EmailAddress bank = person("Riverside Credit Union", "statements@example.org");
const EmailAddress library = person("City Library", "notices@example.org");

// One message of a thread, before it becomes an Email.
struct Message
{
    Message(const char* id, EmailAddress from, QList<EmailAddress> to, QDateTime receivedAt,
            QString text, std::optional<QString> html = std::nullopt,
            QStringList mailboxes = {QStringLiteral("inbox")}, bool seen = true,
            bool flagged = false, bool draft = false, QList<BodyPart> attachments = {})
        : id(QString::fromLatin1(id)), from(std::move(from)), to(std::move(to)),
          receivedAt(std::move(receivedAt)), text(std::move(text)), html(std::move(html)),
          mailboxes(std::move(mailboxes)), seen(seen), flagged(flagged), draft(draft),
          attachments(std::move(attachments))
    {
    }

    QString id;
    EmailAddress from;
    QList<EmailAddress> to;
    QDateTime receivedAt;
    QString text;
    std::optional<QString> html;
    QStringList mailboxes;
    bool seen;
    bool flagged;
    bool draft;
    QList<BodyPart> attachments;
};

BodyPart attachment(const char* blobId, const char* name, const char* type, qint64 size,
                    std::optional<QString> cid = std::nullopt)
{
    BodyPart part;
    part.partId = QString::fromLatin1(blobId);
    part.blobId = QString::fromLatin1(blobId);
    part.name = QString::fromUtf8(name);
    part.type = QString::fromLatin1(type);
    part.size = size;
    part.disposition = cid ? QStringLiteral("inline") : QStringLiteral("attachment");
    part.cid = std::move(cid);
    return part;
}

BodyPart textPart(const QString& partId, const char* type)
{
    BodyPart part;
    part.partId = partId;
    part.type = QString::fromLatin1(type);
    return part;
}

// A thread of messages, oldest first, that share a subject; replies refer to the first one.
MailThread thread(const char* threadId, const char* subject, QList<Message> messages)
{
    MailThread result;
    result.id = QString::fromLatin1(threadId);
    QStringList references;
    for (qsizetype i = 0; i < messages.size(); ++i) {
        const Message& m = messages.at(i);
        Email email;
        email.id = m.id;
        email.threadId = result.id;
        email.blobId = QStringLiteral("raw-") + m.id;
        for (const QString& mailbox : m.mailboxes)
            email.mailboxIds.insert(mailbox, true);
        if (m.seen)
            email.keywords.insert(QStringLiteral("$seen"), true);
        if (m.flagged)
            email.keywords.insert(QStringLiteral("$flagged"), true);
        if (m.draft)
            email.keywords.insert(QStringLiteral("$draft"), true);
        email.from = QList<EmailAddress>{m.from};
        email.to = m.to;
        email.subject = (i == 0 ? QString() : QStringLiteral("Re: ")) + QString::fromUtf8(subject);
        email.receivedAt = m.receivedAt;
        email.preview = m.text.simplified().left(120);
        email.messageId = QStringList{m.id + QStringLiteral("@demo.example.com")};
        if (!references.isEmpty()) {
            email.inReplyTo = QStringList{references.constLast()};
            email.references = references;
        }
        references.append(email.messageId->first());
        email.bodyValues = QMap<QString, BodyValue>{{QStringLiteral("text"), BodyValue{m.text}}};
        email.textBody = QList<BodyPart>{textPart(QStringLiteral("text"), "text/plain")};
        if (m.html) {
            email.bodyValues->insert(QStringLiteral("html"), BodyValue{*m.html});
            email.htmlBody = QList<BodyPart>{textPart(QStringLiteral("html"), "text/html")};
        } else {
            email.htmlBody = email.textBody;
        }
        email.attachments = m.attachments;
        bool listed = false;
        for (const BodyPart& part : m.attachments)
            listed = listed || !part.cid;
        email.hasAttachment = listed;
        qint64 size = m.text.size() + (m.html ? m.html->size() : 0) + 800;
        for (const BodyPart& part : m.attachments)
            size += part.size.value_or(0);
        email.size = size;
        result.emails.append(email);
    }
    // The newest message brought the thread into the list.
    result.anchorId = result.emails.constLast().id;
    return result;
}

QString lines(std::initializer_list<const char*> parts)
{
    QStringList result;
    for (const char* part : parts)
        result.append(QString::fromUtf8(part));
    return result.join(u'\n');
}

// A plan of garden beds, drawn rather than stored, for the message with an inline image.
QByteArray gardenPlan()
{
    QImage image(360, 200, QImage::Format_RGB32);
    image.fill(QColor(0xf4, 0xef, 0xe1));
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(QColor(0x6b, 0x4f, 0x2a), 3));
    const QColor beds[] = {QColor(0x7f, 0xb0, 0x69), QColor(0xa7, 0xc9, 0x57),
                           QColor(0xe0, 0x9f, 0x3e), QColor(0x5d, 0x8a, 0xa8)};
    for (int i = 0; i < 4; ++i) {
        painter.setBrush(beds[i]);
        painter.drawRoundedRect(QRectF(20 + i * 85, 30, 70, 140), 8, 8);
    }
    painter.end();
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

// A one-page PDF with a few lines of text, with a correct cross-reference table.
QByteArray kitchenPlans()
{
    const QByteArray content = "BT /F1 20 Tf 72 760 Td (Kitchen plans, second draft) Tj "
                               "0 -32 Td /F1 12 Tf (Island: 240 x 100 cm, oak top) Tj "
                               "0 -18 Td (Sink moved under the window) Tj "
                               "0 -18 Td (Pantry wall: floor-to-ceiling cupboards) Tj ET";
    const QList<QByteArray> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>", "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 595 842] /Contents 4 0 R "
        "/Resources << /Font << /F1 5 0 R >> >> >>",
        "<< /Length " + QByteArray::number(content.size()) + " >>\nstream\n" + content +
            "\nendstream",
        "<< /Type /Font /Subtype /Type1 /BaseFont /Helvetica >>"};
    QByteArray pdf = "%PDF-1.4\n";
    QList<qsizetype> offsets;
    for (qsizetype i = 0; i < objects.size(); ++i) {
        offsets.append(pdf.size());
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects.at(i) + "\nendobj\n";
    }
    const qsizetype xref = pdf.size();
    pdf += "xref\n0 " + QByteArray::number(objects.size() + 1) + "\n0000000000 65535 f \n";
    for (const qsizetype offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size " + QByteArray::number(objects.size() + 1) +
           " /Root 1 0 R >>\nstartxref\n" + QByteArray::number(xref) + "\n%%EOF\n";
    return pdf;
}

const QByteArray agenda =
    QByteArrayLiteral("Greenfield Co-op - spring work day\n"
                      "\n"
                      "09:00  Coffee and tool check at the shed\n"
                      "09:30  Turn the compost, beds 1-4\n"
                      "11:00  Plant out the seedlings (tomatoes, beans, chard)\n"
                      "12:30  Shared lunch - bring a dish\n"
                      "14:00  Fix the gate latch, paint the rain barrel stand\n");

// A meeting request for the day after tomorrow, so that it is always ahead.
QByteArray reviewInvitation()
{
    const QString day = QDate::currentDate().addDays(2).toString(QStringLiteral("yyyyMMdd"));
    return QStringLiteral("BEGIN:VCALENDAR\r\nVERSION:2.0\r\nPRODID:-//Example//Demo//EN\r\n"
                          "METHOD:REQUEST\r\nBEGIN:VEVENT\r\n"
                          "UID:renovation-walkthrough@demo.example.com\r\nSEQUENCE:0\r\n"
                          "DTSTAMP:20260301T090000Z\r\n"
                          "DTSTART:%1T140000\r\nDTEND:%1T150000\r\n"
                          "SUMMARY:Renovation walkthrough\r\n"
                          "LOCATION:Berg & Holm Architects\\, Harbour Street 4\r\n"
                          "ORGANIZER;CN=Anna Berg:mailto:anna@example.com\r\n"
                          "ATTENDEE;CN=Anna Berg;PARTSTAT=ACCEPTED:mailto:anna@example.com\r\n"
                          "ATTENDEE;CN=Alex Morgan;PARTSTAT=NEEDS-ACTION;RSVP=TRUE:"
                          "mailto:alex@example.com\r\n"
                          "END:VEVENT\r\nEND:VCALENDAR\r\n")
        .arg(day)
        .toUtf8();
}

} // namespace

std::optional<QByteArray> blob(const QString& blobId)
{
    if (blobId == u"demo-invite")
        return reviewInvitation();
    if (blobId == u"demo-garden-plan")
        return gardenPlan();
    if (blobId == u"demo-kitchen-plans")
        return kitchenPlans();
    if (blobId == u"demo-agenda")
        return agenda;
    return std::nullopt;
}

QString source(const Email& email)
{
    QString from;
    if (email.from && !email.from->isEmpty())
        from = email.from->first().email;
    QString text;
    if (email.bodyValues && email.textBody)
        for (const BodyPart& part : *email.textBody)
            if (part.partId)
                text += email.bodyValues->value(*part.partId).value;
    return QStringLiteral("From: ") + from + QStringLiteral("\nSubject: ") +
           email.subject.value_or(QString()) +
           QStringLiteral("\nContent-Type: text/plain; charset=utf-8\n\n") + text;
}

QList<MailThread> threads(const QDateTime& now)
{
    const auto minutes = [&now](int count) { return now.addSecs(-60 * count); };
    // A time on an earlier day, so that dates fall into their groups whatever the hour.
    const auto daysAgo = [&now](int days, int hour, int minute) {
        return QDateTime(now.date().addDays(-days), QTime(hour, minute), now.timeZone());
    };
    const QString inbox = QStringLiteral("inbox");
    QList<MailThread> result;

    result.append(thread(
        "dt-garden", "Spring planting plan",
        {Message{"dm-garden-1",
                 chiara,
                 {gardenList},
                 daysAgo(2, 9, 14),
                 lines({"Hi all,", "",
                        "Attached is the agenda for Saturday's work day. We start at nine; the "
                        "shed will be open from half past eight.",
                        "", "Chiara"}),
                 std::nullopt,
                 {inbox},
                 true,
                 false,
                 false,
                 {attachment("demo-agenda", "work-day-agenda.txt", "text/plain", agenda.size())}},
         Message{"dm-garden-2",
                 ben,
                 {gardenList},
                 daysAgo(2, 11, 2),
                 lines({"I can bring the wheelbarrow and the long hose.", "",
                        "Does anyone have spare bean poles? Mine snapped over the winter.", "",
                        "Ben"})},
         Message{
             "dm-garden-3",
             emil,
             {gardenList},
             daysAgo(1, 18, 40),
             lines({"Bean poles: I have about twenty, I'll leave them by the gate.", "", "Emil"})},
         Message{
             "dm-garden-4",
             chiara,
             {gardenList},
             minutes(95),
             lines({"Here's the new layout of the beds, so we know where everything goes:", "",
                    "[garden plan]", "",
                    "Bed 3 gets the squash this year; the tomatoes move to bed 2."}),
             QStringLiteral("<p>Here's the new layout of the beds, so we know where everything "
                            "goes:</p><p><img src=\"cid:garden-plan@demo.example.com\" "
                            "alt=\"Plan of the four garden beds\" width=\"360\" height=\"200\"></p>"
                            "<p>Bed 3 gets the squash this year; the tomatoes move to bed 2.</p>"),
             {inbox},
             false,
             false,
             false,
             {attachment("demo-garden-plan", "garden-plan.png", "image/png", 2400,
                         QStringLiteral("garden-plan@demo.example.com"))}},
         Message{"dm-garden-5",
                 alex,
                 {gardenList},
                 minutes(60),
                 lines({"Looks great. I'll take bed 4 and the herbs.", "", "Alex"}),
                 std::nullopt,
                 {QStringLiteral("sent")}}}));

    result.append(thread(
        "dt-kitchen", "Kitchen plans, second draft",
        {Message{"dm-kitchen-1",
                 anna,
                 {alex},
                 minutes(25),
                 lines({"Hi Alex,", "",
                        "Here is the second draft of the kitchen. The island is a little "
                        "smaller, and the sink now sits under the window as you asked.",
                        "",
                        "Could you look at the pantry wall before Thursday? The joiner needs "
                        "the measurements by then.",
                        "", "Best,", "Anna", "", "Berg & Holm Architects"}),
                 std::nullopt,
                 {inbox},
                 false,
                 true,
                 false,
                 {attachment("demo-kitchen-plans", "kitchen-plans-v2.pdf", "application/pdf",
                             kitchenPlans().size())}}}));

    result.append(thread(
        "dt-news", "This week: seed swaps, frost dates and a compost myth",
        {Message{"dm-news-1",
                 newsletter,
                 {alex},
                 minutes(180),
                 lines({"The Weekly Sprout", "",
                        "Seed swaps near you: three towns hold swaps this month.",
                        "When is the last frost? Our map has the dates by region.",
                        "Myth of the week: citrus peel does not ruin your compost.", "",
                        "Unsubscribe: https://news.example.net/unsubscribe"}),
                 QStringLiteral(
                     "<html><body style=\"font-family: sans-serif; max-width: 600px\">"
                     "<img src=\"https://images.example.net/sprout/header.png\" width=\"600\" "
                     "height=\"120\" alt=\"The Weekly Sprout\">"
                     "<h2>Seed swaps near you</h2><p>Three towns hold swaps this month. "
                     "Bring labelled envelopes.</p>"
                     "<img src=\"https://images.example.net/sprout/seeds.jpg\" width=\"600\" "
                     "height=\"300\" alt=\"Seed packets on a table\">"
                     "<h2>When is the last frost?</h2><p>Our map has the dates by region. "
                     "<a href=\"https://news.example.net/frost\">See the map</a>.</p>"
                     "<h2>Myth of the week</h2><p>Citrus peel does not ruin your compost; it "
                     "only breaks down more slowly.</p>"
                     "<img src=\"https://track.example.net/open.gif?u=4821\" width=\"1\" "
                     "height=\"1\" alt=\"\">"
                     "<p style=\"font-size: small\"><a "
                     "href=\"https://news.example.net/unsubscribe\">Unsubscribe</a></p>"
                     "</body></html>"),
                 {inbox},
                 false}}));

    // A newsletter that can be left in one click.
    for (Email& email : result.last().emails) {
        email.listUnsubscribe =
            QStringList{QStringLiteral("<mailto:leave@news.example.net?subject=unsubscribe>"),
                        QStringLiteral("<https://news.example.net/unsubscribe?u=4821>")};
        email.listUnsubscribePost = QStringLiteral("List-Unsubscribe=One-Click");
    }

    result.append(thread(
        "dt-invite", "Invitation: Renovation walkthrough",
        {Message{
            "dm-invite-1",
            anna,
            {alex},
            minutes(140),
            lines({"Anna Berg has invited you to \"Renovation walkthrough\".", "",
                   "Let's walk through the house with the joiner and agree on the order of work."}),
            std::nullopt,
            {inbox},
            false,
            false,
            false,
            {attachment("demo-invite", "invite.ics", "text/calendar",
                        reviewInvitation().size())}}}));

    result.append(thread(
        "dt-release", "Release 2.4 go/no-go",
        {Message{"dm-release-1",
                 devTeam,
                 {alex},
                 minutes(300),
                 lines({"Go/no-go for 2.4 is tomorrow at 10:00.", "",
                        "Open items:", "- the migration dry run (Priya)", "- release notes (Hugo)",
                        "", "Please reply if you cannot make it."})},
         Message{"dm-release-2",
                 priya,
                 {devTeam},
                 minutes(240),
                 lines({"Dry run finished: 14 minutes, no errors. Logs are on the wiki.", "",
                        "Priya"})},
         Message{"dm-release-3",
                 hugo,
                 {devTeam},
                 minutes(200),
                 lines({"Release notes are in review. One open question about the export "
                        "format, I'll bring it tomorrow.",
                        "", "Hugo"}),
                 std::nullopt,
                 {inbox},
                 false}}));

    result.append(
        thread("dt-lunch", "Lunch on Friday?",
               {Message{"dm-lunch-1",
                        tomas,
                        {alex},
                        daysAgo(1, 12, 5),
                        lines({"Are you free for lunch on Friday? The new noodle place on Mill "
                               "Street opened.",
                               "", "Tomás"})},
                Message{"dm-lunch-2",
                        alex,
                        {tomas},
                        daysAgo(1, 13, 30),
                        lines({"Friday works. 12:30?", "", "Alex"}),
                        std::nullopt,
                        {QStringLiteral("sent")}},
                Message{"dm-lunch-3",
                        tomas,
                        {alex},
                        daysAgo(1, 14, 2),
                        lines({"12:30 it is. See you there."})}}));

    result.append(thread(
        "dt-order", "Your order #58213 has shipped",
        {Message{"dm-order-1",
                 shop,
                 {alex},
                 daysAgo(1, 8, 45),
                 lines({"Good news: your order is on its way.", "", "2 x Raised bed corner bracket",
                        "1 x Watering can, 10 l", "", "Tracking number: 5821 3390 2214"})}}));

    result.append(thread(
        "dt-climbing", "Climbing on Thursday",
        {Message{
             "dm-climb-1",
             emil,
             {alex, ben},
             daysAgo(3, 19, 20),
             lines({"Thursday at 7 as usual? The bouldering wall has new problems.", "", "Emil"})},
         Message{"dm-climb-2",
                 ben,
                 {emil, alex},
                 daysAgo(3, 20, 1),
                 lines({"In. I'll be ten minutes late."})}}));

    result.append(
        thread("dt-flight", "Your trip to Lisbon: itinerary",
               {Message{"dm-flight-1",
                        airline,
                        {alex},
                        daysAgo(4, 7, 30),
                        lines({"Booking reference: K7PQ2M", "", "Outbound: 14 May, 07:55, seat 14C",
                               "Return: 21 May, 18:20, seat 9A", "",
                               "Online check-in opens 24 hours before departure."}),
                        std::nullopt,
                        {inbox},
                        true,
                        true}}));

    result.append(
        thread("dt-review", "Design review notes",
               {Message{"dm-review-1",
                        grace,
                        {alex},
                        daysAgo(5, 16, 10),
                        lines({"Thanks for the session today. My notes:", "",
                               "1. The settings page needs fewer tabs.",
                               "2. Keyboard hints should show in the menus.",
                               "3. Empty states: say what to do next.", "", "Grace"})},
                Message{"dm-review-2",
                        alex,
                        {grace},
                        daysAgo(5, 17, 45),
                        lines({"Thanks Grace. A draft reply with the plan for each point:", "",
                               "1. Merge Accounts and Sending"}),
                        std::nullopt,
                        {QStringLiteral("drafts")},
                        true,
                        false,
                        true}}));

    result.append(thread(
        "dt-library", "Books due soon",
        {Message{"dm-library-1",
                 library,
                 {alex},
                 daysAgo(6, 9, 0),
                 lines({"The following item is due on Monday:", "", "\"The Well-Tempered Garden\"",
                        "", "You can renew it online once more."})}}));

    result.append(thread("dt-statement", "Your March statement is ready",
                         {Message{"dm-statement-1",
                                  bank,
                                  {alex},
                                  daysAgo(9, 6, 0),
                                  lines({"Your statement for March is ready in online banking.", "",
                                         "We will never ask for your password by email."})}}));

    result.append(
        thread("dt-photos", "Photos from the hike",
               {Message{"dm-photos-1",
                        priya,
                        {alex, tomas},
                        daysAgo(11, 21, 15),
                        lines({"Finally sorted the photos from the ridge walk. The one of the fog "
                               "in the valley is my favourite.",
                               "", "Album: https://photos.example.com/ridge-walk"})}}));

    result.append(
        thread("dt-budget", "Renovation budget",
               {Message{"dm-budget-1",
                        anna,
                        {alex},
                        daysAgo(13, 10, 40),
                        lines({"I've put the quotes side by side. The floor is the biggest item; "
                               "we could save by keeping the old tiles in the hall.",
                               "", "Anna"}),
                        std::nullopt,
                        {inbox, QStringLiteral("renovation")}},
                Message{"dm-budget-2",
                        alex,
                        {anna},
                        daysAgo(12, 8, 15),
                        lines({"Keeping the hall tiles is fine by me.", "", "Alex"}),
                        std::nullopt,
                        {QStringLiteral("sent"), QStringLiteral("renovation")}}}));

    result.append(thread("dt-bookclub", "Book club: next pick",
                         {Message{"dm-book-1",
                                  grace,
                                  {alex, priya, chiara},
                                  daysAgo(16, 20, 0),
                                  lines({"Votes are in: next month we read \"The Overstory\".", "",
                                         "Meeting at mine on the 28th."})}}));

    result.append(thread(
        "dt-keys", "Spare keys",
        {Message{"dm-keys-1",
                 hugo,
                 {alex},
                 daysAgo(34, 18, 30),
                 lines({"I left your spare keys with the neighbour at number 12.", "", "Hugo"})}}));

    result.append(
        thread("dt-conference", "Talk accepted: \"Plain text, plainly\"",
               {Message{"dm-conf-1",
                        devTeam,
                        {alex},
                        daysAgo(62, 11, 0),
                        lines({"Congratulations, your talk has been accepted.", "",
                               "Slot: day 2, 14:00, room B. Slides are due a week before."}),
                        std::nullopt,
                        {inbox},
                        true,
                        true}}));

    result.append(
        thread("dt-welcome", "Welcome to the Greenfield Co-op",
               {Message{"dm-welcome-1",
                        gardenList,
                        {alex},
                        daysAgo(190, 9, 0),
                        lines({"Welcome! Your plot is number 17, next to the apple trees.", "",
                               "The shed code is on the noticeboard."})}}));

    // Elsewhere than the inbox, so that the other mailboxes show something.
    result.append(
        thread("dt-tickets", "Concert tickets",
               {Message{"dm-tickets-1",
                        shop,
                        {alex},
                        daysAgo(20, 15, 0),
                        lines({"Your two tickets for the 12th are attached to your account.", "",
                               "Doors open at 19:00."}),
                        std::nullopt,
                        {QStringLiteral("archive")}}}));
    result.append(thread("dt-hotel", "Hotel confirmation, Lisbon",
                         {Message{"dm-hotel-1",
                                  airline,
                                  {alex},
                                  daysAgo(8, 12, 0),
                                  lines({"Your room at the Casa do Rio is confirmed for 14-21 May.",
                                         "", "Breakfast is included."}),
                                  std::nullopt,
                                  {QStringLiteral("travel")}}}));
    result.append(thread("dt-prize", "You have won!!!",
                         {Message{"dm-prize-1",
                                  person("Prize Desk", "winner@example.net"),
                                  {alex},
                                  minutes(400),
                                  lines({"Claim your prize now by sending your bank details."}),
                                  std::nullopt,
                                  {QStringLiteral("spam")},
                                  false}}));
    result.append(
        thread("dt-draft", "Neighbourhood clean-up",
               {Message{"dm-draft-1",
                        alex,
                        {gardenList},
                        minutes(30),
                        lines({"Hi everyone,", "",
                               "Would anyone join a clean-up of the path along the canal?"}),
                        std::nullopt,
                        {QStringLiteral("drafts")},
                        true,
                        false,
                        true}}));
    result.append(thread("dt-receipt", "Receipt for your donation",
                         {Message{"dm-receipt-1",
                                  gardenList,
                                  {alex},
                                  daysAgo(25, 10, 0),
                                  lines({"Thank you for your donation of 40.00 to the tool fund."}),
                                  std::nullopt,
                                  {QStringLiteral("receipts")}}}));

    // Newest first, as a server lists them.
    std::stable_sort(result.begin(), result.end(), [](const MailThread& a, const MailThread& b) {
        return a.anchor().receivedAt > b.anchor().receivedAt;
    });
    return result;
}

} // namespace DemoData
