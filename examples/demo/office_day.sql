-- A day at the office, after the laptop left with its copy.
update patient set phone = '555-0101', mod_date = '$(Now)' where unid in (1, 2, 3);
update chart_hdr set status = 7, mod_date = '$(Now)' where patient_id in (10, 11, 12, 13);
update chart_hdr set status = 8, mod_date = '$(Now)' where patient_id in (20, 21, 22, 23);
update chart_option set option_name = option_name + ' (revised)', mod_date = '$(Now)' where sort_order = 1;
update chart_option_setting set setting_value = 'office' where chart_option_id in
    (select unid from chart_option where sort_order = 1);
update dentist_company set phone = '555-0199', mod_date = '$(Now)' where dc_id = 1;
update patient_dates set remarks = 'moved by the office', mod_date = '$(Now)' where patient_id = 5;
delete from shortcut where item_name = (select min(item_name) from shortcut);
insert into shortcut (item_name, item_text, mod_date) values ('New at the office', 'it''s new', '$(Now)');
insert into ada_code (ada_code, ada_code_desc, mod_date) values ('Q99999', 'New service', '$(Now)');
