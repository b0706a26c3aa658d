-- :patients patients, and the practice around them.
insert into dentist_company (unid, dc_id, company_name, address1, city, phone, monthly_fee, contract_f, mod_date)
select pg_temp.guid('company', c), c, s.name || ' Dental', 1 + pg_temp.pick('company no', c, 90) || ' ' || st.name,
       t.name, '555-01' || lpad(c::text, 2, '0'), 100 + pg_temp.pick('company fee', c, 40000) / 100.0, c % 2 = 0,
       pg_temp.changed('company', c)
  from generate_series(1, 5) c
  join surname s on s.n = pg_temp.pick('company name', c, 25)
  join street st on st.n = pg_temp.pick('company street', c, 10)
  join town t on t.n = pg_temp.pick('company town', c, 6);

insert into dentist (unid, dc_id, dentist_id, title, first_name, last_name, address1, city, phone, commission,
                     active_f, mod_date)
select pg_temp.guid('dentist', d), 1 + d / 4, 1 + d % 4, case when d % 3 = 0 then 'Dr.' end, g.name, s.name,
       case when d % 5 > 0 then 1 + pg_temp.pick('dentist no', d, 90) || ' ' || st.name end, t.name,
       '555-02' || lpad(d::text, 2, '0'), pg_temp.pick('commission', d, 400) / 8.0, d % 7 > 0,
       pg_temp.changed('dentist', d)
  from generate_series(0, 19) d
  join given_name g on g.n = pg_temp.pick('dentist given', d, 24)
  join surname s on s.n = pg_temp.pick('dentist name', d, 25)
  join street st on st.n = pg_temp.pick('dentist street', d, 10)
  join town t on t.n = pg_temp.pick('dentist town', d, 6);

insert into specialist (unid, title, first_name, last_name, specialty, address1, phone, mod_date)
select pg_temp.guid('specialist', p), 'Dr.', g.name, s.name,
       (array['Orthodontics', 'Oral surgery', 'Endodontics'])[1 + p % 3],
       case when p % 4 > 0 then 1 + pg_temp.pick('specialist no', p, 90) || ' ' || st.name end,
       '555-03' || lpad(p::text, 2, '0'), pg_temp.changed('specialist', p)
  from generate_series(1, 12) p
  join given_name g on g.n = pg_temp.pick('specialist given', p, 24)
  join surname s on s.n = pg_temp.pick('specialist name', p, 25)
  join street st on st.n = pg_temp.pick('specialist street', p, 10);

insert into patient (unid, full_name, first_name, last_name, sex, birth_date, file_no, address1, city, phone, dc_id,
                     dentist_id, recall_months, balance, risk_score, household_id, remarks, active_f, mod_date)
select p, s.name || ', ' || g.name, g.name, s.name, (array['F', 'M', 'X'])[1 + pg_temp.pick('sex', p, 3)],
       timestamp '1935-01-01' + pg_temp.pick('birth', p, 32000) * interval '1 day', 'P' || lpad(p::text, 7, '0'),
       1 + pg_temp.pick('patient no', p, 200) || ' ' || st.name, t.name, '555-' || lpad((p % 10000)::text, 4, '0'),
       case when p % 11 > 0 then 1 + pg_temp.pick('patient company', p, 5) end,
       case when p % 11 > 0 then 1 + pg_temp.pick('patient dentist', p, 4) end,
       (array[3, 6, 12])[1 + pg_temp.pick('recall', p, 3)], (pg_temp.pick('balance', p, 2000000) - 500000) / 10000.0,
       pg_temp.pick('risk', p, 1000) / 1024.0, case when p % 3 > 0 then pg_temp.guid('household', p / 3) end,
       case when p % 6 = 0 then 'Prefers mornings; doesn''t like waiting' end, p % 13 > 0,
       pg_temp.changed('patient', p)
  from generate_series(1, :patients) p
  join given_name g on g.n = pg_temp.pick('patient given', p, 24)
  join surname s on s.n = pg_temp.pick('patient name', p, 25)
  join street st on st.n = pg_temp.pick('patient street', p, 10)
  join town t on t.n = pg_temp.pick('patient town', p, 6);

insert into patient_dates (unid, patient_id, date_type, event_date, remarks, mod_date)
select d, (d + 1) / 2, case when d % 2 = 1 then 'first visit' else 'recall' end,
       timestamp '2023-01-02 08:00' + pg_temp.pick('event', d, 60000) * interval '15 minutes',
       case when d % 9 = 0 then 'moved by phone' end, pg_temp.changed('patient date', d)
  from generate_series(1, 2 * :patients) d;

insert into patient_spec_xref (unid, patient_id, spec_id, referral_date, mod_date)
select pg_temp.guid('referral', r), 4 * r, pg_temp.guid('specialist', 1 + pg_temp.pick('referred to', r, 12)),
       timestamp '2023-01-02' + pg_temp.pick('referral', r, 900) * interval '1 day', pg_temp.changed('referral', r)
  from generate_series(1, :patients / 4) r;

insert into users (unid, user_name, initials, access_level, active_f, mod_date)
select u, g.name || ' ' || s.name, upper(substr(g.name, 1, 1) || substr(s.name, 1, 1)), u % 4, u % 5 > 0,
       pg_temp.changed('user', u)
  from generate_series(1, 10) u
  join given_name g on g.n = pg_temp.pick('user given', u, 24)
  join surname s on s.n = pg_temp.pick('user name', u, 25);
