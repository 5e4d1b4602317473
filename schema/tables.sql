-- The panel's tables, as far as the autoresponder reads or writes them. The panel owns them; this
-- file states what the program relies on. All values are read as text.

-- Panel-wide settings. The program reads:
--   mysql41_compatible  "SET NAMES utf8" when set to anything but "false", else "SET NAMES binary"
--   admin_email         envelope sender and From of notifications
--   FullHostName        stands behind "root@" where admin_email is empty
create table misc (
  param varchar(255) not null primary key,
  val   text
);

-- Clients own domains and are told about missing attachment files.
create table clients (
  id    int unsigned not null auto_increment primary key,
  login varchar(255) not null,
  pname varchar(255),           -- personal name; the login stands in where it is empty
  email varchar(255)            -- no notification where it is empty
);

create table domains (
  id    int unsigned not null auto_increment primary key,
  name  varchar(255) not null unique,
  cl_id int unsigned not null   -- clients.id
);

-- Other names of a domain; they count for mail where `mail` is 'true'.
create table domainaliases (
  id     int unsigned not null auto_increment primary key,
  dom_id int unsigned not null, -- domains.id
  name   varchar(255) not null,
  mail   enum('true','false') not null default 'true'
);

-- Mailboxes: mail_name at the domain's name.
create table mail (
  id        int unsigned not null auto_increment primary key,
  dom_id    int unsigned not null, -- domains.id
  mail_name varchar(245) not null,
  unique (dom_id, mail_name)
);

-- Other local parts of a mailbox.
create table mail_aliases (
  id    int unsigned not null auto_increment primary key,
  mn_id int unsigned not null,  -- mail.id
  alias varchar(245) not null
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

-- Forwarding addresses of a rule. They reach the shell bare: whoever writes them must check them.
create table resp_forward (
  rn_id   int unsigned not null,              -- mail_resp.id
  address varchar(255),
  key (rn_id)
);

-- Attachments of a rule: names of files in <mail names directory>/<domain>/<mail name>/@attachments.
create table resp_attach (
  rn_id    int unsigned not null,             -- mail_resp.id
  filename varchar(255),
  key (rn_id)
);
