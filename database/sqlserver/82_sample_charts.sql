-- One chart with three items for each patient; every fifth item has a comment.
insert into dbo.procs (unid, proc_name, proc_code, fee, duration_min, mod_date)
select p, concat(choose(1 + p % 8, 'Examination', 'Cleaning', 'Filling', 'Extraction', 'Crown', 'Root treatment',
          'X-ray', 'Splint'), ' ', choose(1 + p / 8, 'short', 'standard', 'long', 'follow-up', 'emergency')),
       concat('Q', right('000' + convert(varchar(12), p), 3)), 20 + dbo.SamplePick('fee', p, 90000) / 100.0,
       10 * (1 + dbo.SamplePick('min', p, 9)),
       dbo.SampleChanged('proc', p)
  from (select n as p from dbo.SampleNumber where n between 0 and 39) as numbers;

insert into dbo.procs_letter (unid, proc_id, letter_type, letter_name, delay_days, mod_date)
select l, 2 * l - 1, choose(1 + l % 3, 'reminder', 'thanks', 'estimate'), concat('Letter ', l), 7 * (l % 5),
       dbo.SampleChanged('letter', l)
  from (select n as l from dbo.SampleNumber where n between 1 and 20) as numbers;

insert into dbo.ada_code (unid, ada_code, ada_code_desc, fee, mod_date)
select dbo.SampleGuid('code', c), concat('Q', right('00000' + convert(varchar(12), 100 * c), 5)),
       concat('Sample service ', c),
       dbo.SamplePick('code fee', c, 50000) / 100.0, dbo.SampleChanged('code', c)
  from (select n as c from dbo.SampleNumber where n between 1 and 60) as numbers;

insert into dbo.chart_hdr (unid, patient_id, opened_date, status, mod_date)
select dbo.SampleGuid('chart', p), p, dateadd(day, dbo.SamplePick('opened', p, 700), '20230102'), p % 3,
       dbo.SampleChanged('chart', p)
  from (select n as p from dbo.SampleNumber where n between 1 and $(Patients)) as numbers;

-- The one table whose change times have fractions of a second.
insert into dbo.chart_item (unid, chart_hdr_id, patient_id, proc_id, tooth, surface, treatment_date, fee, hours,
                        completed_f, mod_date)
select dbo.SampleGuid('item', i), dbo.SampleGuid('chart', p), p, dbo.SamplePick('item proc', i, 40),
       11 + dbo.SamplePick('tooth', i, 8), choose(1 + dbo.SamplePick('surface', i, 4), 'M', 'OD', 'MOD', null),
       dateadd(minute, 15 * dbo.SamplePick('treated', i, 60000), '20240102 08:00'),
       dbo.SamplePick('item fee', i, 90000) / 100.0, (1 + dbo.SamplePick('hours', i, 16)) / 8e0, iif(i % 4 > 0, 1, 0),
       dateadd(millisecond, 10 * dbo.SamplePick('item ms', i, 100), dbo.SampleChanged('item', i))
  from (select n as i from dbo.SampleNumber where n between 1 and 3 * $(Patients)) as numbers
 cross apply (select (i + 2) / 3 as p) owner;

insert into dbo.chart_comment_info (unid, dc_id, comment_text, mod_date)
select dbo.SampleGuid('item', 5 * c), case when c % 3 > 0 then 1 + dbo.SamplePick('comment company', c, 5) end,
       concat('Comment ', c, replicate('; it''s noted', dbo.SamplePick('comment length', c, 40))),
       dbo.SampleChanged('comment', c)
  from (select n as c from dbo.SampleNumber where n between 1 and 3 * $(Patients) / 5) as numbers;
go
