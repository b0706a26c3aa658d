-- Lists and settings: a fixed number of rows.
insert into dbo.chair_type (unid, chair_type_name, chairs, hourly_cost, mod_date)
select c, choose(c, 'Standard', 'Surgery', 'Hygiene', 'Children', 'Consulting'), c % 3 + 1,
       40 + dbo.SamplePick('chair cost', c, 4000) / 100.0, dbo.SampleChanged('chair', c)
  from (select n as c from dbo.SampleNumber where n between 1 and 5) as numbers;

insert into dbo.shortcut (unid, item_name, item_text, mod_date)
select dbo.SampleGuid('shortcut', s), concat('Shortcut ', s), concat('Text of shortcut ', s),
       dbo.SampleChanged('shortcut', s)
  from (select n as s from dbo.SampleNumber where n between 1 and 20) as numbers;

insert into dbo.combo_values (unid, combo_name, combo_value, sort_order, mod_date)
select dbo.SampleGuid('combo', c), choose(1 + c % 3, 'Referral', 'Payment', 'Recall'), concat('Choice ', c), c,
       dbo.SampleChanged('combo', c)
  from (select n as c from dbo.SampleNumber where n between 1 and 30) as numbers;

insert into dbo.config (unid, category, config_name, config_value, mod_date)
select dbo.SampleGuid('config', c), choose(1 + c % 5, 'Printing', 'Schedule', 'Display', 'Letters', 'Billing'),
       concat('Setting ', c), convert(varchar(12), dbo.SamplePick('config', c, 1000)), dbo.SampleChanged('config', c)
  from (select n as c from dbo.SampleNumber where n between 1 and 25) as numbers;

insert into dbo.chart_option (unid, option_name, option_group, sort_order, enabled_f, mod_date)
select dbo.SampleGuid('option', o), concat('Option ', o), choose(1 + o % 3, 'COLOUR', 'TOOTH', 'PRINT'), o,
       iif(o % 4 > 0, 1, 0),
       dbo.SampleChanged('option', o)
  from (select n as o from dbo.SampleNumber where n between 1 and 15) as numbers;

insert into dbo.chart_option_setting (unid, chart_option_id, setting_name, setting_value, weight, mod_date)
select dbo.SampleGuid('option setting', s), dbo.SampleGuid('option', 1 + s / 4), concat('Setting ', s % 4),
       convert(varchar(12), dbo.SamplePick('option value', s, 1000)), dbo.SamplePick('weight', s, 100) / 64e0,
       dbo.SampleChanged('option setting', s)
  from (select n as s from dbo.SampleNumber where n between 0 and 59) as numbers;

insert into dbo.computer_type (unid, type_name, screen_width, mod_date)
select dbo.SampleGuid('computer', c), choose(c, 'Reception', 'Chair side', 'Office', 'Server', 'Laptop'),
       choose(1 + c % 4, 1024, 1280, 1600, 1920), dbo.SampleChanged('computer', c)
  from (select n as c from dbo.SampleNumber where n between 1 and 5) as numbers;

insert into dbo.computer_type_setting (unid, computer_type_id, setting_name, setting_value, mod_date)
select dbo.SampleGuid('computer setting', s), dbo.SampleGuid('computer', 1 + s / 6), concat('Setting ', s % 6),
       convert(varchar(12), dbo.SamplePick('computer value', s, 1000)), dbo.SampleChanged('computer setting', s)
  from (select n as s from dbo.SampleNumber where n between 0 and 29) as numbers;
go
