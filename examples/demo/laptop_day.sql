-- The same day on the laptop: four of its charts were changed at the office too, and two tables travel both ways.
update chart_hdr set status = 9, mod_date = '$(Later)' where patient_id in (20, 21, 22, 23);
update patient_dates set remarks = 'moved on the road', mod_date = '$(Now)' where patient_id = 6;
insert into config (category, config_name, config_value, mod_date) values ('laptop', 'road trip', 'yes', '$(Now)');
