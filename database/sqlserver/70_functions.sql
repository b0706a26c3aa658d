-- Display names by key; null for a key that does not exist.
create function dbo.FN_DentistFullName(@unid uniqueidentifier) returns varchar(90) as
begin
    return (select isnull(title + ' ', '') + isnull(first_name + ' ', '') + last_name
              from dbo.dentist where unid = @unid);
end
go

create function dbo.FN_SpecialistFullName(@unid uniqueidentifier) returns varchar(90) as
begin
    return (select isnull(title + ' ', '') + isnull(first_name + ' ', '') + last_name
              from dbo.specialist where unid = @unid);
end
go
