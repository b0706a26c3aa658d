-- $(Patients) patients, and the practice around them.
insert into dbo.dentist_company (unid, dc_id, company_name, address1, city, phone, monthly_fee, contract_f, mod_date)
select dbo.SampleGuid('company', c), c, concat(s.name, ' Dental'),
       concat(1 + dbo.SamplePick('company no', c, 90), ' ', st.name),
       t.name, concat('555-01', right('00' + convert(varchar(12), c), 2)),
       100 + dbo.SamplePick('company fee', c, 40000) / 100.0, iif(c % 2 = 0, 1, 0),
       dbo.SampleChanged('company', c)
  from (select n as c from dbo.SampleNumber where n between 1 and 5) as numbers
  join dbo.SampleName s on s.kind = 'surname' and s.n = dbo.SamplePick('company name', c, 25)
  join dbo.SampleName st on st.kind = 'street' and st.n = dbo.SamplePick('company street', c, 10)
  join dbo.SampleName t on t.kind = 'town' and t.n = dbo.SamplePick('company town', c, 6);

insert into dbo.dentist (unid, dc_id, dentist_id, title, first_name, last_name, address1, city, phone, commission,
                     active_f, mod_date)
select dbo.SampleGuid('dentist', d), 1 + d / 4, 1 + d % 4, case when d % 3 = 0 then 'Dr.' end, g.name, s.name,
       case when d % 5 > 0 then concat(1 + dbo.SamplePick('dentist no', d, 90), ' ', st.name) end, t.name,
       concat('555-02', right('00' + convert(varchar(12), d), 2)), dbo.SamplePick('commission', d, 400) / 8e0,
       iif(d % 7 > 0, 1, 0),
       dbo.SampleChanged('dentist', d)
  from (select n as d from dbo.SampleNumber where n between 0 and 19) as numbers
  join dbo.SampleName g on g.kind = 'given' and g.n = dbo.SamplePick('dentist given', d, 24)
  join dbo.SampleName s on s.kind = 'surname' and s.n = dbo.SamplePick('dentist name', d, 25)
  join dbo.SampleName st on st.kind = 'street' and st.n = dbo.SamplePick('dentist street', d, 10)
  join dbo.SampleName t on t.kind = 'town' and t.n = dbo.SamplePick('dentist town', d, 6);

insert into dbo.specialist (unid, title, first_name, last_name, specialty, address1, phone, mod_date)
select dbo.SampleGuid('specialist', p), 'Dr.', g.name, s.name,
       choose(1 + p % 3, 'Orthodontics', 'Oral surgery', 'Endodontics'),
       case when p % 4 > 0 then concat(1 + dbo.SamplePick('specialist no', p, 90), ' ', st.name) end,
       concat('555-03', right('00' + convert(varchar(12), p), 2)), dbo.SampleChanged('specialist', p)
  from (select n as p from dbo.SampleNumber where n between 1 and 12) as numbers
  join dbo.SampleName g on g.kind = 'given' and g.n = dbo.SamplePick('specialist given', p, 24)
  join dbo.SampleName s on s.kind = 'surname' and s.n = dbo.SamplePick('specialist name', p, 25)
  join dbo.SampleName st on st.kind = 'street' and st.n = dbo.SamplePick('specialist street', p, 10);

insert into dbo.patient (unid, full_name, first_name, last_name, sex, birth_date, file_no, address1, city, phone,
          dc_id,
                     dentist_id, recall_months, balance, risk_score, household_id, remarks, active_f, mod_date)
select p, concat(s.name, ', ', g.name), g.name, s.name, choose(1 + dbo.SamplePick('sex', p, 3), 'F', 'M', 'X'),
       dateadd(day, dbo.SamplePick('birth', p, 32000), '19350101'),
       concat('P', right('0000000' + convert(varchar(12), p), 7)),
       concat(1 + dbo.SamplePick('patient no', p, 200), ' ', st.name), t.name,
       concat('555-', right('0000' + convert(varchar(12), p % 10000), 4)),
       case when p % 11 > 0 then 1 + dbo.SamplePick('patient company', p, 5) end,
       case when p % 11 > 0 then 1 + dbo.SamplePick('patient dentist', p, 4) end,
       choose(1 + dbo.SamplePick('recall', p, 3), 3, 6, 12),
       (dbo.SamplePick('balance', p, 2000000) - 500000) / 10000.0,
       dbo.SamplePick('risk', p, 1000) / 1024e0, case when p % 3 > 0 then dbo.SampleGuid('household', p / 3) end,
       case when p % 6 = 0 then 'Prefers mornings; doesn''t like waiting' end, iif(p % 13 > 0, 1, 0),
       dbo.SampleChanged('patient', p)
  from (select n as p from dbo.SampleNumber where n between 1 and $(Patients)) as numbers
  join dbo.SampleName g on g.kind = 'given' and g.n = dbo.SamplePick('patient given', p, 24)
  join dbo.SampleName s on s.kind = 'surname' and s.n = dbo.SamplePick('patient name', p, 25)
  join dbo.SampleName st on st.kind = 'street' and st.n = dbo.SamplePick('patient street', p, 10)
  join dbo.SampleName t on t.kind = 'town' and t.n = dbo.SamplePick('patient town', p, 6);

insert into dbo.patient_dates (unid, patient_id, date_type, event_date, remarks, mod_date)
select d, (d + 1) / 2, case when d % 2 = 1 then 'first visit' else 'recall' end,
       dateadd(minute, 15 * dbo.SamplePick('event', d, 60000), '20230102 08:00'),
       case when d % 9 = 0 then 'moved by phone' end, dbo.SampleChanged('patient date', d)
  from (select n as d from dbo.SampleNumber where n between 1 and 2 * $(Patients)) as numbers;

insert into dbo.patient_spec_xref (unid, patient_id, spec_id, referral_date, mod_date)
select dbo.SampleGuid('referral', r), 4 * r, dbo.SampleGuid('specialist', 1 + dbo.SamplePick('referred to', r, 12)),
       dateadd(day, dbo.SamplePick('referral', r, 900), '20230102'), dbo.SampleChanged('referral', r)
  from (select n as r from dbo.SampleNumber where n between 1 and $(Patients) / 4) as numbers;

insert into dbo.users (unid, user_name, initials, access_level, active_f, mod_date)
select u, concat(g.name, ' ', s.name), upper(concat(substring(g.name, 1, 1), substring(s.name, 1, 1))), u % 4,
       iif(u % 5 > 0, 1, 0),
       dbo.SampleChanged('user', u)
  from (select n as u from dbo.SampleNumber where n between 1 and 10) as numbers
  join dbo.SampleName g on g.kind = 'given' and g.n = dbo.SamplePick('user given', u, 24)
  join dbo.SampleName s on s.kind = 'surname' and s.n = dbo.SamplePick('user name', u, 25);
go
