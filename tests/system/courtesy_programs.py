"""Automatic messages as bulk mailers and other programs write them, each with the reason why it gets no
reply."""

BULK = {
    "a newsletter with one click to end it": ("List-Unsubscribe", """\
Return-Path: <bounce-mc.us1_1-info=shop.example@mail1.newsletter.example>
From: "Garden Club" <hello@garden.example>
Reply-To: <us1-abc@inbound.newsletter.example>
To: <info@shop.example>
Subject: Spring
List-Unsubscribe: <https://newsletter.example/unsubscribe?u=1>, <mailto:u@newsletter.example>
List-Unsubscribe-Post: List-Unsubscribe=One-Click
Feedback-ID: 1:1:us1:mc

Flowers!
"""),
    "phpList": ("List-Help", """\
From: Garden Club <news@garden.example>
To: info@shop.example
Subject: Spring
X-phpList-version: 3.6.14
X-MessageID: 12
X-ListMember: info@shop.example
Precedence: bulk
Bounces-To: bounces@garden.example
List-Help: <https://garden.example/lists/?p=preferences>
List-Owner: <mailto:admin@garden.example>

Flowers!
"""),
    "a shop's order": ("sender is a machine", """\
From: "Parts Store" <no-reply@parts.example>
To: info@shop.example
Subject: Your order 4711
Message-ID: <0102018abc@eu-west-1.amazonses.com>

Thank you for your order.
"""),
    "a social network": ("sender is a machine", """\
From: Network <notifications-noreply@network.example>
To: info@shop.example
Subject: Otto wants to connect

See his profile.
"""),
    "a sender known by its envelope alone": ("sender is a machine", """\
Return-Path: <bounces+4711-info=shop.example@em.garden.example>
From: Garden Club <news@garden.example>
To: info@shop.example
Subject: Spring

Flowers!
"""),
    "a code platform": ("List-Id", """\
From: Otto <notifications@code.example>
Reply-To: project/thing <reply+ABC@reply.code.example>
To: project/thing <thing@noreply.code.example>
Cc: Subscribed <subscribed@noreply.code.example>
Subject: Re: [project/thing] It fails (#12)
Precedence: list
List-ID: project/thing <thing.project.code.example>
X-Auto-Response-Suppress: All

It fails.
"""),
    "spam that a filter marked": ("spam", """\
X-Spam-Flag: YES
X-Spam-Checker-Version: SpamAssassin 4.0.0 (2022-12-14) on mx.shop.example
X-Spam-Level: ************
X-Spam-Status: Yes, score=12.7 required=5.0 tests=BAYES_99,URIBL_BLACK
From: Lotto <win@lotto.example>
To: info@shop.example
Subject: [SPAM] You have won

Click.
"""),
    "spam that another filter marked": ("spam", """\
X-Spam-Status: Yes
X-Spamd-Bar: ++++++++++
From: Lotto <win@lotto.example>
To: info@shop.example
Subject: You have won

Click.
"""),
    "a mail to hidden recipients": ("not addressed to the mailbox", """\
From: Otto <otto@customer.example>
To: undisclosed-recipients:;
Subject: We have moved

To whom it may concern
"""),
}

PROGRAMS = {
    "a bounce of qmail": ("null sender", """\
Return-Path: <>
From: postoffice@mx.customer.example
To: info@shop.example
Subject: failure notice

Hi. This is the qmail-send program at mx.customer.example.
"""),
    "a bounce of Postfix": ("null sender", """\
Return-Path: <>
From: Mail Delivery System <Mailer-Daemon@mx.customer.example>
To: info@shop.example
Subject: Undelivered Mail Returned to Sender
Auto-Submitted: auto-replied
Content-Type: multipart/report; report-type=delivery-status; boundary="b"

--b
--b--
"""),
    "a bounce of Exchange": ("Auto-Submitted", """\
From: Microsoft Outlook <MicrosoftExchange329e71ec88ae4615bbc36ab6ce41109e@firm.example>
To: info@shop.example
Subject: Undeliverable: Offer
Auto-Submitted: auto-replied
X-MS-Exchange-Message-Is-Ndr:
X-Auto-Response-Suppress: All
Content-Type: multipart/report; report-type=delivery-status; boundary="b"

--b
--b--
"""),
    "Exchange, out of office": ("Auto-Submitted", """\
From: Anna Berg <anna.berg@firm.example>
To: info@shop.example
Subject: Automatic reply: Offer
Thread-Topic: Automatic reply: Offer
Message-ID: <c0ffee@AM0PR05MB1234.eurprd05.prod.outlook.com>
In-Reply-To: <a1@shop.example>
X-Auto-Response-Suppress: All
auto-submitted: auto-generated
X-MS-Exchange-Inbox-Rules-Loop: anna.berg@firm.example

I am away.
"""),
    "Exchange, a receipt": ("X-Auto-Response-Suppress", """\
From: Anna Berg <anna.berg@firm.example>
To: info@shop.example
Subject: Read: Offer
X-Auto-Response-Suppress: DR, RN, NRN, OOF, AutoReply
Content-Type: multipart/report; report-type=disposition-notification; boundary="b"

--b
--b--
"""),
    "vacation(1)": ("Auto-Submitted", """\
From: Otto <otto@customer.example>
To: info@shop.example
Subject: away from my mail
Delivered-By-The-Graces-Of: The Vacation program
Precedence: bulk
Auto-Submitted: auto-replied

I am away.
"""),
    "an old vacation(1)": ("Precedence", """\
From: otto@customer.example (via the vacation program)
To: info@shop.example
Subject: away from my mail
Precedence: junk

I am away.
"""),
    "Pigeonhole": ("Auto-Submitted", """\
X-Sieve: Pigeonhole Sieve 0.5.19
Message-ID: <dovecot-sieve-1763712000-1-0@mx.customer.example>
From: Otto <otto@customer.example>
To: <info@shop.example>
Subject: Auto: Hello
In-Reply-To: <a1@shop.example>
Auto-Submitted: auto-replied (vacation)
Precedence: bulk
X-Auto-Response-Suppress: All

I am away.
"""),
    "cron": ("Auto-Submitted", """\
From: "(Cron Daemon)" <root@web1.panel.example>
To: info@shop.example
Subject: Cron <shop@web1> /usr/bin/backup
Auto-Submitted: auto-generated
X-Cron-Env: <SHELL=/bin/sh>

done
"""),
    "a ticket system": ("Auto-Submitted", """\
From: Support <support@firm.example>
To: info@shop.example
Subject: [Ticket#2026112110000123] Offer
Auto-Submitted: auto-replied
Precedence: bulk
X-Loop: yes

We have received your message.
"""),
    "a calendar of a web mailer": ("Auto-Submitted", """\
Return-Path: <3abcdefgcalendar-notification@google.com>
Reply-To: Anna Berg <anna.berg@gmail.com>
Sender: Google Calendar <calendar-notification@google.com>
Auto-Submitted: auto-generated
Message-ID: <calendar-0a1b2c3d@google.com>
From: Anna Berg <anna.berg@gmail.com>
To: info@shop.example
Subject: Invitation: Visit @ Mon Nov 23, 2026
Content-Type: text/calendar; charset="UTF-8"; method=REQUEST

BEGIN:VCALENDAR
END:VCALENDAR
"""),
    "Exchange, the answer of a room": ("X-Auto-Response-Suppress", """\
From: Room 5 <room5@firm.example>
To: info@shop.example
Subject: Accepted: Visit
X-Auto-Response-Suppress: DR, OOF, AutoReply
Content-Type: text/calendar; charset="utf-8"; method=REPLY

BEGIN:VCALENDAR
END:VCALENDAR
"""),
    "a calendar server": ("sender is a machine", """\
From: Firm calendar <donotreply@calendar.firm.example>
To: info@shop.example
Subject: Reminder: Visit
Content-Type: text/plain

In ten minutes.
"""),
    "a report on DMARC": ("sender is a machine", """\
From: noreply-dmarc-support@google.com
To: info@shop.example
Subject: Report domain: shop.example Submitter: google.com Report-ID: 1

gzip
"""),
}
