"""Messages as common software writes them, each with the reason why it gets no reply with courtesy
on; None for one that gets a reply. All are delivered to info@shop.example."""

from courtesy_programs import BULK, PROGRAMS

ORDINARY = {
    "a desktop mail program": (None, """\
Return-Path: <otto@customer.example>
Received: from mail.customer.example (mail.customer.example [192.0.2.7])
\tby mx.shop.example with ESMTPS; Sat, 21 Nov 2026 10:00:00 +0100
Message-ID: <7c0c9d1e-6a54-4f0a-9a51-52c1a6f9d2b3@customer.example>
Date: Sat, 21 Nov 2026 10:00:00 +0100
MIME-Version: 1.0
User-Agent: Mozilla Thunderbird
Content-Language: de-DE
To: info@shop.example
From: Otto Klein <otto@customer.example>
Subject: Opening hours
Content-Type: text/plain; charset=UTF-8; format=flowed
Content-Transfer-Encoding: 8bit

Are you open on Sunday?
"""),
    "a web mailer, in a thread": (None, """\
MIME-Version: 1.0
References: <a1@shop.example> <CAF=b2x@mail.gmail.com>
In-Reply-To: <CAF=b2x@mail.gmail.com>
From: Anna Berg <anna.berg@gmail.com>
Date: Sat, 21 Nov 2026 10:00:00 +0100
Message-ID: <CAF=Yk3z+0Qw_7=x@mail.gmail.com>
Subject: Re: Your order
To: "Shop, the" <info@shop.example>
Cc: Bert <bert@customer.example>
Content-Type: text/plain; charset="UTF-8"

And the second parcel?
"""),
    "a telephone": (None, """\
From: Otto <otto@icloud.com>
Content-Type: text/plain; charset=us-ascii
Content-Transfer-Encoding: 7bit
Mime-Version: 1.0 (1.0)
Date: Sat, 21 Nov 2026 10:00:00 +0100
Subject: Question
Message-Id: <2F1B6D0E-8C4D-4C0B-9D7F-6E0A8F5B2C11@icloud.com>
To: INFO@Shop.Example
X-Mailer: iPhone Mail (24A1)

Sent from my phone
"""),
    "Exchange, written by a person": (None, """\
From: Anna Berg <anna.berg@firm.example>
To: "info@shop.example" <info@shop.example>
Subject: Offer
Thread-Topic: Offer
Thread-Index: AdtABCDEFGHIJKLMNOP==
Date: Sat, 21 Nov 2026 09:00:00 +0000
Message-ID:
 <AM0PR05MB1234A1B2C3D4E5F6A7B8C9D0@AM0PR05MB1234.eurprd05.prod.outlook.com>
Accept-Language: de-DE, en-US
Content-Language: de-DE
X-MS-Has-Attach:
X-MS-TNEF-Correlator:
X-MS-Exchange-MessageSentRepresentingType: 1
X-Auto-Response-Suppress: DR, RN, NRN
Content-Type: text/plain; charset="iso-8859-1"
MIME-Version: 1.0

Please send an offer.
"""),
    "a form of the shop's own site": (None, """\
Return-Path: <www-data@web1.panel.example>
To: info@shop.example
Subject: Contact form
From: info@shop.example
Reply-To: otto@customer.example
X-PHP-Originating-Script: 1001:contact.php
Message-Id: <20261121090000.ABC12@web1.panel.example>

Name: Otto
"""),
    "a filter that found no spam": (None, """\
X-Spam-Checker-Version: SpamAssassin 4.0.0 (2022-12-14) on mx.shop.example
X-Spam-Level: **
X-Spam-Status: No, score=2.1 required=5.0 tests=BAYES_50,HTML_MESSAGE
\tautolearn=no autolearn_force=no version=4.0.0
From: otto@customer.example
To: info@shop.example
Subject: Hello

Hello
"""),
    "Exchange, an invitation by a person": (None, """\
From: Anna Berg <anna.berg@firm.example>
To: info@shop.example
Subject: Visit
Date: Sat, 21 Nov 2026 09:00:00 +0000
Message-ID: <DB7PR01MB0001@DB7PR01MB0001.eurprd01.prod.exchangelabs.com>
Content-Class: urn:content-classes:calendarmessage
Content-Type: text/calendar; charset="utf-8"; method=REQUEST
MIME-Version: 1.0

BEGIN:VCALENDAR
END:VCALENDAR
"""),
}

LISTS = {
    "Mailman 2": ("List-Id", """\
Return-Path: <news-bounces@lists.example>
From: Otto <otto@customer.example>
To: info@shop.example
Subject: [News] Hello
X-BeenThere: news@lists.example
X-Mailman-Version: 2.1.39
Precedence: list
List-Id: News of the town <news.lists.example>
List-Unsubscribe: <https://lists.example/mailman/options/news>,
 <mailto:news-request@lists.example?subject=unsubscribe>
List-Post: <mailto:news@lists.example>
Errors-To: news-bounces@lists.example
Sender: "News" <news-bounces@lists.example>

Hello
"""),
    "Mailman 3": ("List-Id", """\
From: Otto via News <news@lists.example>
Reply-To: otto@customer.example
To: news@lists.example
Subject: [News] Hello
X-Mailman-Version: 3.3.8
Precedence: list
List-Id: News <news.lists.example>
Archived-At: <https://lists.example/hyperkitty/message/ABC/>
List-Archive: <https://lists.example/hyperkitty/>
List-Help: <mailto:news-request@lists.example?subject=help>
List-Owner: <mailto:news-owner@lists.example>

Hello
"""),
    "Majordomo": ("Precedence", """\
From: otto@customer.example
To: news@lists.example
Subject: Hello
Sender: owner-news@lists.example
Precedence: bulk

Hello
"""),
    "ezmlm": ("List-Post", """\
Return-Path: <news-return-12-info=shop.example@lists.example>
Mailing-List: contact news-help@lists.example; run by ezmlm
Precedence: bulk
X-No-Archive: yes
List-Post: <mailto:news@lists.example>
List-Help: <mailto:news-help@lists.example>
List-Unsubscribe: <mailto:news-unsubscribe@lists.example>
Reply-To: news@lists.example
Delivered-To: mailing list news@lists.example
From: otto@customer.example
To: news@lists.example
Subject: Hello

Hello
"""),
    "LISTSERV": ("List-Help", """\
Date: Sat, 21 Nov 2026 10:00:00 +0100
Reply-To: News <NEWS@LISTS.EXAMPLE>
Sender: News <NEWS@LISTS.EXAMPLE>
From: Otto <otto@customer.example>
Subject: Hello
To: NEWS@LISTS.EXAMPLE
List-Help: <https://lists.example/scripts/wa.exe?LIST=NEWS>,
 <mailto:LISTSERV@LISTS.EXAMPLE?body=INFO%20NEWS>

Hello
"""),
    "LISTSERV, a notice of the server": ("sender is a machine", """\
From: "LISTS.EXAMPLE LISTSERV Server (17.0)" <LISTSERV@LISTS.EXAMPLE>
To: info@shop.example
Subject: Your subscription to NEWS

You have been subscribed.
"""),
    "Sympa": ("List-Id", """\
From: "otto" (otto@customer.example via news Mailing List) <news@lists.example>
To: news <news@lists.example>
Subject: [news] Hello
Precedence: list
X-Loop: news@lists.example
X-Sequence: 12
Errors-To: news-owner@lists.example
List-Id: <news.lists.example>
List-Unsubscribe: <mailto:sympa@lists.example?subject=unsubscribe%20news>

Hello
"""),
    "a group of a web mailer": ("List-Id", """\
X-BeenThere: town@googlegroups.com
From: Otto <otto@customer.example>
To: town <town@googlegroups.com>
Subject: Hello
Precedence: list
Mailing-list: list town@googlegroups.com; contact town+owners@googlegroups.com
List-ID: <town.googlegroups.com>
X-Google-Group-Id: 12345
List-Post: <https://groups.google.com/group/town/post>, <mailto:town@googlegroups.com>
List-Unsubscribe: <mailto:googlegroups-manage+12345+unsubscribe@googlegroups.com>

Hello
"""),
}

MESSAGES = {**ORDINARY, **LISTS, **BULK, **PROGRAMS}
