-- Lists and settings: a fixed number of rows.
insert into chair_type (unid, chair_type_name, chairs, hourly_cost, mod_date)
select c, (array['Standard', 'Surgery', 'Hygiene', 'Children', 'Consulting'])[c], c % 3 + 1,
       40 + pg_temp.pick('chair cost', c, 4000) / 100.0, pg_temp.changed('chair', c)
  from generate_series(1, 5) c;

insert into shortcut (unid, item_name, item_text, mod_date)
select pg_temp.guid('shortcut', s), 'Shortcut ' || s, 'Text of shortcut ' || s, pg_temp.changed('shortcut', s)
  from generate_series(1, 20) s;

insert into combo_values (unid, combo_name, combo_value, sort_order, mod_date)
select pg_temp.guid('combo', c), (array['Referral', 'Payment', 'Recall'])[1 + c % 3], 'Choice ' || c, c,
       pg_temp.changed('combo', c)
  from generate_series(1, 30) c;

insert into config (unid, category, config_name, config_value, mod_date)
select pg_temp.guid('config', c), (array['Printing', 'Schedule', 'Display', 'Letters', 'Billing'])[1 + c % 5],
       'Setting ' || c, pg_temp.pick('config', c, 1000)::text, pg_temp.changed('config', c)
  from generate_series(1, 25) c;

insert into chart_option (unid, option_name, option_group, sort_order, enabled_f, mod_date)
select pg_temp.guid('option', o), 'Option ' || o, (array['COLOUR', 'TOOTH', 'PRINT'])[1 + o % 3], o, o % 4 > 0,
       pg_temp.changed('option', o)
  from generate_series(1, 15) o;

insert into chart_option_setting (unid, chart_option_id, setting_name, setting_value, weight, mod_date)
select pg_temp.guid('option setting', s), pg_temp.guid('option', 1 + s / 4), 'Setting ' || s % 4,
       pg_temp.pick('option value', s, 1000)::text, pg_temp.pick('weight', s, 100) / 64.0,
       pg_temp.changed('option setting', s)
  from generate_series(0, 59) s;

insert into computer_type (unid, type_name, screen_width, mod_date)
select pg_temp.guid('computer', c), (array['Reception', 'Chair side', 'Office', 'Server', 'Laptop'])[c],
       (array[1024, 1280, 1600, 1920])[1 + c % 4], pg_temp.changed('computer', c)
  from generate_series(1, 5) c;

insert into computer_type_setting (unid, computer_type_id, setting_name, setting_value, mod_date)
select pg_temp.guid('computer setting', s), pg_temp.guid('computer', 1 + s / 6), 'Setting ' || s % 6,
       pg_temp.pick('computer value', s, 1000)::text, pg_temp.changed('computer setting', s)
  from generate_series(0, 29) s;
