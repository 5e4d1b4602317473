-- The panel's tables, as far as the autoresponder reads or writes them. The panel owns them; this
-- file states what the program relies on. All values are read as text.

-- Panel-wide settings. The program reads:
--   mysql41_compatible  "SET NAMES utf8" if set to anything but "false", otherwise binary
--   admin_email         envelope sender and From of notifications
--   FullHostName        follows "root@" where admin_email is empty
create table misc (
  param varchar(255) not null primary key,
  val   text
);

-- Clients own domains and are told about missing attachment files.
create table clients (
  id    int unsigned not null auto_increment primary key,
  login varchar(255) not null,
  pname varchar(255),           -- personal name; where it is empty the login is used
  email varchar(255)            -- no notification where it is empty
);

create table domains (
  id    int unsigned not null auto_increment primary key,
  name  varchar(255) not null unique,
  cl_id int unsigned not null   -- clients.id
);

-- Other names of a domain; they take mail where `mail` is 'true'. A message to a domain alias is
-- looked up by `name`; AUTORESPONDER_COURTESY asks for all names of a domain.
create table domainaliases (
  id     int unsigned not null auto_increment primary key,
  dom_id int unsigned not null, -- domains.id
  name   varchar(255) not null,
  mail   enum('true','false') not null default 'true',
  key (name),
  key (dom_id)
);

-- Mailboxes: mail_name at the domain's name.
create table mail (
  id        int unsigned not null auto_increment primary key,
  dom_id    int unsigned not null, -- domains.id
  mail_name varchar(245) not null,
  unique (dom_id, mail_name)
);

-- Other local parts of a mailbox. To find one the server goes either from the mailboxes of the
-- domain to their aliases, or from all aliases of that name to their mailboxes. Which way is
-- shorter depends on the panel: a domain may have many mailboxes, and many domains an alias "info".
create table mail_aliases (
  id    int unsigned not null auto_increment primary key,
  mn_id int unsigned not null,  -- mail.id
  alias varchar(245) not null,
  key (mn_id, alias),
  key (alias, mn_id)
);

-- Autoresponder rules. Every firing rule of a mailbox sends a reply of its own.
create table mail_resp (
  id           int unsigned not null auto_increment primary key,
  mn_id        int unsigned not null,         -- mail.id
  keystr       varchar(255),                  -- trigger text, byte for byte
  key_where    enum('no','subj','body'),      -- where to look for it; 'no' answers everything
  text         text,                          -- reply text, UTF-8
  resp_on      enum('true','false'),          -- 'false' and NULL switch the rule off
  ans_freq     int,                           -- replies per sender and day; default 10
  mem_limit    int,                           -- senders remembered; default 1000
  subject      varchar(255),                  -- template; "Re: " and the subject where empty
  reply_to     varchar(255),
  charset      varchar(255),                  -- of the reply text; default UTF-8
  content_type varchar(255),                  -- of the reply text; default text/plain
  key (mn_id)
);

-- Who was answered today. `time_resp` must be filled by default: the program never sets it, but
-- drops the rows of earlier days and, when there are too many senders, the oldest rows.
create table resp_freq (
  rn_id     int unsigned not null,            -- mail_resp.id
  email     varchar(320) not null,
  num       int unsigned not null default 0,  -- replies sent today
  time_resp timestamp not null default current_timestamp,
  key (rn_id, email)
);

-- Forwarding addresses of a rule. Without AUTORESPONDER_REPAIRS they reach the shell without
-- quotes: whoever writes them must check them.
create table resp_forward (
  rn_id   int unsigned not null,              -- mail_resp.id
  address varchar(255),
  key (rn_id)
);

-- Attachments of a rule: names of files in QMAIL_MAILNAMES_D/<domain>/<mail name>/@attachments.
create table resp_attach (
  rn_id    int unsigned not null,             -- mail_resp.id
  filename varchar(255),
  key (rn_id)
);

-- Tables that the panel's other programs read and write through the library in support/; the
-- autoresponder itself does not touch them.

alter table domains
  add status        int unsigned not null default 0,  -- 0: active
  add htype         varchar(16) not null default 'none', -- hosting type
  add params_id     int unsigned,             -- Parameters.id
  add limits_id     int unsigned,             -- Limits.id
  add dns_zone_id   int unsigned;             -- dns_zone.id

-- Parameters of one domain.
create table dom_param (
  dom_id int unsigned not null,               -- domains.id
  param  varchar(255) not null,
  val    text,
  primary key (dom_id, param)
);

-- Sets of parameters, of a domain or of one of its services.
create table Parameters (
  id        int unsigned not null,
  parameter varchar(255) not null,
  value     text,
  primary key (id, parameter)
);

create table DomainServices (
  dom_id        int unsigned not null,        -- domains.id
  type          varchar(32) not null,
  parameters_id int unsigned,                 -- Parameters.id
  primary key (dom_id, type)
);

create table Limits (
  id         int unsigned not null,
  limit_name varchar(255) not null,
  value      bigint not null default -1,      -- -1: unlimited
  primary key (id, limit_name)
);

create table IP_Addresses (
  id         int unsigned not null auto_increment primary key,
  ip_address varchar(45) not null
);

-- A domain's web hosting; fp and fp_ssl say whether its publishing extensions are on.
create table hosting (
  dom_id        int unsigned not null primary key,  -- domains.id
  ip_address_id int unsigned,                       -- IP_Addresses.id
  fp            varchar(8) not null default 'false',
  fp_ssl        varchar(8) not null default 'false'
);

create table dns_zone (
  id int unsigned not null auto_increment primary key
);

create table dns_recs (
  dns_zone_id int unsigned not null,          -- dns_zone.id
  type        varchar(8) not null,
  host        varchar(255) not null,
  key (dns_zone_id)
);

create table subdomains (
  dom_id int unsigned not null,               -- domains.id
  name   varchar(255) not null,
  primary key (dom_id, name)
);

create table anon_ftp (
  dom_id int unsigned not null primary key,   -- domains.id
  status varchar(8) not null default 'false'
);
