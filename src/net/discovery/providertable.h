#pragma once

#include "net/discovery/mailsettings.h"

#include <array>

/// How a provider wants the user named.
enum class UserForm { Address, LocalPart };

/// One large provider. Domains are separated by blanks. A server is its host, with ":587" and the like where
/// the port is not the usual one of TLS; the port of STARTTLS means that. Empty: it is not offered.
struct ProviderRow
{
    const char *name;
    const char *domains;
    const char *exchanges; ///< registered domains of the hosts that receive for domains of its customers
    const char *pop3;
    const char *imap;
    const char *smtp;
    unsigned needs = 0;    ///< of ProviderNeed
    const char *page = ""; ///< where the user can meet them
    UserForm user = UserForm::Address;
};

// clang-format off
constexpr std::array kProviders = {
    ProviderRow{"Gmail", "gmail.com googlemail.com", "google.com googlemail.com",
                "pop.gmail.com", "imap.gmail.com", "smtp.gmail.com",
                NeedsAppPassword | NeedsSwitch, "https://myaccount.google.com/apppasswords"},
    ProviderRow{"Outlook.com", "outlook.com outlook.de outlook.fr outlook.es outlook.it outlook.jp outlook.com.br "
                "hotmail.com hotmail.co.uk hotmail.de hotmail.fr hotmail.es hotmail.it live.com live.co.uk live.de "
                "live.fr live.nl live.it msn.com passport.com", "",
                "outlook.office365.com", "outlook.office365.com", "smtp-mail.outlook.com:587", NeedsOAuth2},
    ProviderRow{"Microsoft 365", "", "outlook.com",
                "outlook.office365.com", "outlook.office365.com", "smtp.office365.com:587", NeedsOAuth2},
    ProviderRow{"Yahoo", "yahoo.com ymail.com rocketmail.com myyahoo.com yahoo.co.uk yahoo.de yahoo.fr yahoo.es "
                "yahoo.it yahoo.ca yahoo.ie yahoo.gr yahoo.in yahoo.co.in yahoo.co.id yahoo.com.au yahoo.com.br "
                "yahoo.com.ar yahoo.com.mx yahoo.com.ph yahoo.com.sg yahoo.com.tw yahoo.com.hk", "yahoodns.net",
                "pop.mail.yahoo.com", "imap.mail.yahoo.com", "smtp.mail.yahoo.com",
                NeedsAppPassword, "https://login.yahoo.com/account/security"},
    ProviderRow{"Yahoo Japan", "yahoo.co.jp ymail.ne.jp", "",
                "pop.mail.yahoo.co.jp", "imap.mail.yahoo.co.jp", "smtp.mail.yahoo.co.jp",
                NeedsSwitch, "https://mail.yahoo.co.jp", UserForm::LocalPart},
    ProviderRow{"AOL", "aol.com aim.com aol.co.uk aol.de aol.fr", "",
                "pop.aol.com", "imap.aol.com", "smtp.aol.com",
                NeedsAppPassword, "https://login.aol.com/account/security"},
    ProviderRow{"AT&T", "att.net sbcglobal.net bellsouth.net ameritech.net pacbell.net swbell.net", "",
                "inbound.att.net", "imap.mail.att.net", "smtp.mail.att.net", NeedsAppPassword},
    ProviderRow{"iCloud", "icloud.com me.com mac.com", "icloud.com",
                "", "imap.mail.me.com", "smtp.mail.me.com:587",
                NeedsAppPassword, "https://account.apple.com"},
    ProviderRow{"GMX", "gmx.de gmx.net gmx.at gmx.ch gmx.org gmx.info gmx.eu", "",
                "pop.gmx.net", "imap.gmx.net", "mail.gmx.net", NeedsSwitch, "https://www.gmx.net"},
    ProviderRow{"GMX", "gmx.com gmx.us gmx.co.uk gmx.fr gmx.es", "",
                "pop.gmx.com", "imap.gmx.com", "mail.gmx.com", NeedsSwitch, "https://www.gmx.com"},
    ProviderRow{"WEB.DE", "web.de email.de", "",
                "pop3.web.de", "imap.web.de", "smtp.web.de:587", NeedsSwitch, "https://web.de"},
    ProviderRow{"Telekom", "t-online.de magenta.de", "",
                "securepop.t-online.de", "secureimap.t-online.de", "securesmtp.t-online.de",
                NeedsAppPassword, "https://account.idm.telekom.com"},
    ProviderRow{"freenet", "freenet.de", "", "mx.freenet.de", "mx.freenet.de", "mx.freenet.de"},
    ProviderRow{"IONOS", "online.de onlinehome.de", "kundenserver.de ionos.de",
                "pop.ionos.de", "imap.ionos.de", "smtp.ionos.de"},
    ProviderRow{"IONOS", "", "ionos.com", "pop.ionos.com", "imap.ionos.com", "smtp.ionos.com"},
    ProviderRow{"STRATO", "", "rzone.de", "pop3.strato.de", "imap.strato.de", "smtp.strato.de"},
    ProviderRow{"Posteo", "posteo.de posteo.net posteo.org posteo.at posteo.ch posteo.eu posteo.be posteo.us", "",
                "posteo.de", "posteo.de", "posteo.de"},
    ProviderRow{"mailbox.org", "mailbox.org", "mailbox.org",
                "pop3.mailbox.org", "imap.mailbox.org", "smtp.mailbox.org"},
    ProviderRow{"Fastmail", "fastmail.com fastmail.fm fastmail.net fastmail.org", "messagingengine.com",
                "pop.fastmail.com", "imap.fastmail.com", "smtp.fastmail.com",
                NeedsAppPassword, "https://app.fastmail.com/settings/security"},
    ProviderRow{"Zoho", "zoho.com zohomail.com", "zoho.com",
                "pop.zoho.com", "imap.zoho.com", "smtp.zoho.com", NeedsSwitch, "https://mail.zoho.com"},
    ProviderRow{"Zoho", "zoho.eu zohomail.eu", "zoho.eu",
                "pop.zoho.eu", "imap.zoho.eu", "smtp.zoho.eu", NeedsSwitch, "https://mail.zoho.eu"},
    ProviderRow{"Yandex", "yandex.ru yandex.com yandex.by yandex.kz yandex.com.tr ya.ru", "yandex.net yandex.ru",
                "pop.yandex.com", "imap.yandex.com", "smtp.yandex.com",
                NeedsAppPassword | NeedsSwitch, "https://id.yandex.com/security/app-passwords"},
    ProviderRow{"Mail.ru", "mail.ru inbox.ru list.ru bk.ru internet.ru", "mail.ru",
                "pop.mail.ru", "imap.mail.ru", "smtp.mail.ru",
                NeedsAppPassword, "https://account.mail.ru/user/2-step-auth/passwords"},
    ProviderRow{"Rambler", "rambler.ru lenta.ru autorambler.ru myrambler.ru ro.ru rambler.ua", "",
                "pop.rambler.ru", "imap.rambler.ru", "smtp.rambler.ru", NeedsSwitch, "https://mail.rambler.ru"},
    ProviderRow{"UKR.NET", "ukr.net", "", "pop3.ukr.net", "imap.ukr.net", "smtp.ukr.net",
                NeedsAppPassword | NeedsSwitch, "https://mail.ukr.net"},
    ProviderRow{"QQ", "qq.com vip.qq.com foxmail.com", "",
                "pop.qq.com", "imap.qq.com", "smtp.qq.com", NeedsAppPassword | NeedsSwitch, "https://mail.qq.com"},
    ProviderRow{"NetEase 163", "163.com", "", "pop.163.com", "imap.163.com", "smtp.163.com",
                NeedsAppPassword | NeedsSwitch, "https://mail.163.com"},
    ProviderRow{"NetEase 126", "126.com", "", "pop.126.com", "imap.126.com", "smtp.126.com",
                NeedsAppPassword | NeedsSwitch, "https://mail.126.com"},
    ProviderRow{"NetEase yeah.net", "yeah.net", "", "pop.yeah.net", "imap.yeah.net", "smtp.yeah.net",
                NeedsAppPassword | NeedsSwitch, "https://mail.yeah.net"},
    ProviderRow{"Aliyun", "aliyun.com", "", "pop3.aliyun.com", "imap.aliyun.com", "smtp.aliyun.com"},
    ProviderRow{"Naver", "naver.com", "", "pop.naver.com", "imap.naver.com", "smtp.naver.com",
                NeedsSwitch, "https://mail.naver.com", UserForm::LocalPart},
    ProviderRow{"Daum", "daum.net hanmail.net", "", "pop.daum.net", "imap.daum.net", "smtp.daum.net",
                NeedsAppPassword | NeedsSwitch, "https://mail.daum.net", UserForm::LocalPart},
    ProviderRow{"Orange", "orange.fr wanadoo.fr", "", "pop.orange.fr", "imap.orange.fr", "smtp.orange.fr"},
    ProviderRow{"Free", "free.fr", "", "pop.free.fr", "imap.free.fr", "smtp.free.fr", 0, "", UserForm::LocalPart},
    ProviderRow{"SFR", "sfr.fr neuf.fr cegetel.net", "", "pop.sfr.fr", "imap.sfr.fr", "smtp.sfr.fr"},
    ProviderRow{"Libero", "libero.it inwind.it iol.it blu.it giallo.it", "",
                "popmail.libero.it", "imapmail.libero.it", "smtp.libero.it"},
    ProviderRow{"Virgilio", "virgilio.it", "", "in.virgilio.it", "in.virgilio.it", "out.virgilio.it"},
    ProviderRow{"Tiscali", "tiscali.it", "", "pop.tiscali.it", "imap.tiscali.it", "smtp.tiscali.it"},
    ProviderRow{"Aruba", "", "aruba.it", "pop3s.aruba.it", "imaps.aruba.it", "smtps.aruba.it"},
    ProviderRow{"Seznam", "seznam.cz email.cz post.cz spoluzaci.cz", "",
                "pop3.seznam.cz", "imap.seznam.cz", "smtp.seznam.cz"},
    ProviderRow{"WP", "wp.pl", "", "pop3.wp.pl", "imap.wp.pl", "smtp.wp.pl", NeedsSwitch, "https://poczta.wp.pl"},
    ProviderRow{"o2", "o2.pl tlen.pl go2.pl", "", "poczta.o2.pl", "poczta.o2.pl", "poczta.o2.pl"},
    ProviderRow{"Onet", "onet.pl onet.eu op.pl vp.pl poczta.onet.pl", "",
                "pop3.poczta.onet.pl", "imap.poczta.onet.pl", "smtp.poczta.onet.pl"},
    ProviderRow{"Interia", "interia.pl interia.eu poczta.fm", "",
                "poczta.interia.pl", "poczta.interia.pl", "poczta.interia.pl"},
    ProviderRow{"ABV", "abv.bg", "", "pop3.abv.bg", "imap.abv.bg", "smtp.abv.bg"},
    ProviderRow{"Bluewin", "bluewin.ch", "", "pop3s.bluewin.ch", "imaps.bluewin.ch", "smtpauths.bluewin.ch"},
    ProviderRow{"BT", "btinternet.com btopenworld.com talk21.com", "",
                "mail.btinternet.com", "mail.btinternet.com", "mail.btinternet.com"},
    ProviderRow{"Virgin Media", "virginmedia.com blueyonder.co.uk ntlworld.com virgin.net", "",
                "pop3.virginmedia.com", "imap.virginmedia.com", "smtp.virginmedia.com"},
    ProviderRow{"UOL", "uol.com.br", "", "pop3.uol.com.br", "imap.uol.com.br", "smtps.uol.com.br:587"},
    ProviderRow{"BOL", "bol.com.br", "", "pop3.bol.com.br", "imap.bol.com.br", "smtps.bol.com.br:587"},
    ProviderRow{"Telstra", "bigpond.com bigpond.net.au telstra.com", "",
                "pop.telstra.com", "imap.telstra.com", "smtp.telstra.com"},
    ProviderRow{"Runbox", "runbox.com", "runbox.com", "mail.runbox.com", "mail.runbox.com", "mail.runbox.com"},
    ProviderRow{"Riseup", "riseup.net", "", "mail.riseup.net", "mail.riseup.net", "mail.riseup.net",
                0, "", UserForm::LocalPart},
    ProviderRow{"Disroot", "disroot.org", "", "disroot.org", "disroot.org", "disroot.org"},
    ProviderRow{"Mailfence", "mailfence.com", "mailfence.com",
                "pop.mailfence.com", "imap.mailfence.com", "smtp.mailfence.com"},
    ProviderRow{"Gandi", "", "gandi.net", "mail.gandi.net", "mail.gandi.net", "mail.gandi.net"},
    ProviderRow{"Infomaniak", "ik.me", "infomaniak.ch",
                "mail.infomaniak.com", "mail.infomaniak.com", "mail.infomaniak.com"},
    ProviderRow{"Migadu", "", "migadu.com", "pop.migadu.com", "imap.migadu.com", "smtp.migadu.com"},
    ProviderRow{"Rackspace", "", "emailsrvr.com",
                "secure.emailsrvr.com", "secure.emailsrvr.com", "secure.emailsrvr.com"},
    ProviderRow{"GoDaddy", "", "secureserver.net",
                "pop.secureserver.net", "imap.secureserver.net", "smtpout.secureserver.net"},
    ProviderRow{"DreamHost", "", "dreamhost.com", "pop.dreamhost.com", "imap.dreamhost.com", "smtp.dreamhost.com"},
    ProviderRow{"Private Email", "", "privateemail.com",
                "mail.privateemail.com", "mail.privateemail.com", "mail.privateemail.com"},
    ProviderRow{"Proton", "proton.me protonmail.com protonmail.ch pm.me", "protonmail.ch",
                "", "", "", NeedsOwnProgram, "https://proton.me/mail/bridge"},
    ProviderRow{"Tuta", "tuta.com tuta.io tutanota.com tutanota.de tutamail.com keemail.me", "tutanota.de",
                "", "", "", NeedsOwnProgram, "https://tuta.com"},
};
// clang-format on
