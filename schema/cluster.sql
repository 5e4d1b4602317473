-- Additions to the panel's tables for a MariaDB Galera cluster; load them after tables.sql. The
-- keys are invisible: "select *" and "insert into … values (…)" do not see them, so the panel's
-- statements stay as they are. docs/scaling.md says what goes wrong without these keys.
--
-- They number the rows. With a unique key over rule and sender instead, of two runs at the same
-- time one would fail at its insert and send no reply.

alter table resp_freq
  add row_id bigint unsigned not null auto_increment primary key invisible;
alter table resp_forward
  add row_id bigint unsigned not null auto_increment primary key invisible;
alter table resp_attach
  add row_id bigint unsigned not null auto_increment primary key invisible;
alter table dns_recs
  add row_id bigint unsigned not null auto_increment primary key invisible;

-- Two nodes that insert a sender's first reply at once insert two different rows: the nodes see no
-- conflict, and the sender has two rows. Therefore each insert also changes a row that all inserts
-- of its rule share: then one of the two fails with error 1213, and a run with repairs repeats it.
create table resp_freq_turn (
  slot  tinyint unsigned not null primary key,  -- rule modulo 64
  turns bigint unsigned not null default 0      -- inserts so far
);
insert into resp_freq_turn (slot) select seq from seq_0_to_63;
create trigger resp_freq_takes_its_turn after insert on resp_freq for each row
  update resp_freq_turn set turns=turns+1 where slot=new.rn_id%64;
