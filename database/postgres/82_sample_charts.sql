-- One chart with three items for each patient; every fifth item has a comment.
insert into procs (unid, proc_name, proc_code, fee, duration_min, mod_date)
select p, (array['Examination', 'Cleaning', 'Filling', 'Extraction', 'Crown', 'Root treatment', 'X-ray', 'Splint'])
          [1 + p % 8] || ' ' || (array['short', 'standard', 'long', 'follow-up', 'emergency'])[1 + p / 8],
       'Q' || lpad(p::text, 3, '0'), 20 + pg_temp.pick('fee', p, 90000) / 100.0, 10 * (1 + pg_temp.pick('min', p, 9)),
       pg_temp.changed('proc', p)
  from generate_series(0, 39) p;

insert into procs_letter (unid, proc_id, letter_type, letter_name, delay_days, mod_date)
select l, 2 * l - 1, (array['reminder', 'thanks', 'estimate'])[1 + l % 3], 'Letter ' || l, 7 * (l % 5),
       pg_temp.changed('letter', l)
  from generate_series(1, 20) l;

insert into ada_code (unid, ada_code, ada_code_desc, fee, mod_date)
select pg_temp.guid('code', c), 'Q' || lpad((100 * c)::text, 5, '0'), 'Sample service ' || c,
       pg_temp.pick('code fee', c, 50000) / 100.0, pg_temp.changed('code', c)
  from generate_series(1, 60) c;

insert into chart_hdr (unid, patient_id, opened_date, status, mod_date)
select pg_temp.guid('chart', p), p, timestamp '2023-01-02' + pg_temp.pick('opened', p, 700) * interval '1 day', p % 3,
       pg_temp.changed('chart', p)
  from generate_series(1, :patients) p;

-- The one table whose change times have fractions of a second.
insert into chart_item (unid, chart_hdr_id, patient_id, proc_id, tooth, surface, treatment_date, fee, hours,
                        completed_f, mod_date)
select pg_temp.guid('item', i), pg_temp.guid('chart', p), p, pg_temp.pick('item proc', i, 40),
       11 + pg_temp.pick('tooth', i, 8), (array['M', 'OD', 'MOD', null])[1 + pg_temp.pick('surface', i, 4)],
       timestamp '2024-01-02 08:00' + pg_temp.pick('treated', i, 60000) * interval '15 minutes',
       pg_temp.pick('item fee', i, 90000) / 100.0, (1 + pg_temp.pick('hours', i, 16)) / 8.0, i % 4 > 0,
       pg_temp.changed('item', i) + pg_temp.pick('item ms', i, 100) * interval '10 milliseconds'
  from generate_series(1, 3 * :patients) i
 cross join lateral (select (i + 2) / 3 as p) owner;

insert into chart_comment_info (unid, dc_id, comment_text, mod_date)
select pg_temp.guid('item', 5 * c), case when c % 3 > 0 then 1 + pg_temp.pick('comment company', c, 5) end,
       'Comment ' || c || repeat('; it''s noted', pg_temp.pick('comment length', c, 40)),
       pg_temp.changed('comment', c)
  from generate_series(1, 3 * :patients / 5) c;
