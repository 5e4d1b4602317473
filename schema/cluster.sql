-- What the panel's tables need besides on a MariaDB Galera cluster; load it after tables.sql. No
-- statement of the panel has to change: the keys are invisible, so that "select *" and "insert into …
-- values (…)" do not meet them. docs/scaling.md says what goes wrong without.
--
-- The keys belong to the rows and not to what is in them: a unique key over rule and sender would make
-- one of two runs at the same time fail at its insert, and that run would not answer.

alter table resp_freq
  add row_id bigint unsigned not null auto_increment primary key invisible;
alter table resp_forward
  add row_id bigint unsigned not null auto_increment primary key invisible;
alter table resp_attach
  add row_id bigint unsigned not null auto_increment primary key invisible;
alter table dns_recs
  add row_id bigint unsigned not null auto_increment primary key invisible;

-- Rows that are inserted on two nodes at once never are the same row, so the nodes do not see that both
-- runs count a sender's first reply. Therefore each insert also writes a row that all inserts of its
-- rule have in common: of two at once one fails with error 1213, and a run with repairs repeats it.
create table resp_freq_turn (
  slot  tinyint unsigned not null primary key,  -- rule modulo 64
  turns bigint unsigned not null default 0      -- inserts so far
);
insert into resp_freq_turn (slot) select seq from seq_0_to_63;
create trigger resp_freq_takes_its_turn after insert on resp_freq for each row
  update resp_freq_turn set turns=turns+1 where slot=new.rn_id%64;
