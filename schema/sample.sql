-- A small panel to try the program with: one client, one domain with an alias, one mailbox with
-- five rules.

set names utf8mb4;

insert into misc (param, val) values
  ('admin_email', 'hostmaster@panel.example'),
  ('FullHostName', 'server1.panel.example'),
  ('mysql41_compatible', 'true');

insert into clients (id, login, pname, email) values
  (1, 'shop', 'Grete Kaufmann', 'grete@customer.example');

insert into domains (id, name, cl_id) values (1, 'shop.example', 1);
insert into domainaliases (dom_id, name, mail) values (1, 'laden.example', 'true');
insert into mail (id, dom_id, mail_name) values (1, 1, 'info');
insert into mail_aliases (mn_id, alias) values (1, 'sales');

insert into mail_resp
  (id, mn_id, keystr, key_where, text, resp_on, ans_freq, mem_limit, subject, reply_to, charset,
   content_type) values
  -- Subject trigger, attachments (one of them missing), a Reply-To of its own.
  (1, 1, 'price list', 'subj',
   'Thank you for asking. Our price list is attached.', 'true', 5, 1000,
   'Prices: <request_subject>', 'sales@shop.example', 'UTF-8', 'text/plain'),
  -- Body trigger, forwarded to two colleagues.
  (2, 1, 'urgent', 'body',
   'Somebody is looking at your message right now.', 'true', 10, 1000,
   '', '', 'UTF-8', 'text/plain'),
  -- No trigger, another charset.
  (3, 1, '', 'no',
   'Grüße aus dem Laden! Wir antworten in Kürze.', 'true', 1, 1000,
   'Eingangsbestätigung für <request_from>', '', 'ISO-8859-1', 'text/plain'),
  -- A trigger that the sample message does not hold.
  (4, 1, 'invoice', 'subj', 'Your invoice follows.', 'true', 10, 1000, '', '', 'UTF-8',
   'text/plain'),
  -- Switched off.
  (5, 1, '', 'no', 'We are on holiday.', 'false', 10, 1000, '', '', 'UTF-8', 'text/plain');

insert into resp_attach (rn_id, filename) values
  (1, 'price list.txt'),
  (1, 'old catalogue.pdf');

insert into resp_forward (rn_id, address) values
  (2, 'anna@colleague.example'),
  (2, 'ben@colleague.example');
