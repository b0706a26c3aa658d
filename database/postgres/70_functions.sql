-- Display names by key; null for a key that does not exist. Called as dbo.FN_..., as scalar functions are there.
create function dbo.FN_DentistFullName(p_unid uuid) returns text
    stable language sql
    begin atomic
        select concat_ws(' ', title, first_name, last_name) from dentist where unid = p_unid;
    end;

create function dbo.FN_SpecialistFullName(p_unid uuid) returns text
    stable language sql
    begin atomic
        select concat_ws(' ', title, first_name, last_name) from specialist where unid = p_unid;
    end;
